// How records mark that others before them are missing.
#pragma once

#include <cstdint>

#include "hal.h"

namespace Simulator {

/// Marks a record to say that records before it are missing. Does nothing unless specialised for
/// the record.
template <typename Record>
struct Discontinuity {
    static void mark(Record* /*record*/) {}
};

/// For records with a discontinuity bit in their status.
template <auto bit>
struct StatusBit {
    template <typename Record>
    static void mark(Record* record) {
        record->status |= static_cast<uint32_t>(bit);
    }
};

template <>
struct Discontinuity<Hidl::FlickerData> : StatusBit<Hidl::LightSampleStatus::DISCONTINUITY> {};
template <>
struct Discontinuity<Hidl::AdcFlickerData> : StatusBit<Hidl::LightSampleStatus::DISCONTINUITY> {};
template <>
struct Discontinuity<Hidl::AmbientLightData> : StatusBit<Hidl::LightSampleStatus::DISCONTINUITY> {};
template <>
struct Discontinuity<Hidl::ExternalTimestampData>
    : StatusBit<Hidl::ExternalTimestampStatus::DISCONTINUITY> {};
template <>
struct Discontinuity<Hidl::ImuData> : StatusBit<Hidl::MotionSampleStatus::DISCONTINUITY> {};
template <>
struct Discontinuity<Hidl::MagData> : StatusBit<Hidl::MotionSampleStatus::DISCONTINUITY> {};
template <>
struct Discontinuity<Hidl::ControllerImuData> : StatusBit<Hidl::MotionSampleStatus::DISCONTINUITY> {
};

}  // namespace Simulator
