// How records mark that others before them are missing.
#pragma once

#include <cstdint>

#include "hal.h"

namespace Simulator {

/// How a record tells the client that records before it are missing. Specialised for records that
/// can; the others stand for themselves.
template <typename Record>
struct Discontinuity {
    static void mark(Record* /*record*/) {}
};

/// Of records that have a bit in their status for it.
template <auto bit>
struct StatusBit {
    template <typename Record>
    static void mark(Record* record) {
        record->status |= static_cast<uint32_t>(bit);
    }
};

template <>
struct Discontinuity<Hal::FlickerData> : StatusBit<Hal::LightSampleStatus::DISCONTINUITY> {};
template <>
struct Discontinuity<Hal::AdcFlickerData> : StatusBit<Hal::LightSampleStatus::DISCONTINUITY> {};
template <>
struct Discontinuity<Hal::AmbientLightData> : StatusBit<Hal::LightSampleStatus::DISCONTINUITY> {};
template <>
struct Discontinuity<Hal::ExternalTimestampData>
    : StatusBit<Hal::ExternalTimestampStatus::DISCONTINUITY> {};
template <>
struct Discontinuity<Hal::ImuData> : StatusBit<Hal::MotionSampleStatus::DISCONTINUITY> {};
template <>
struct Discontinuity<Hal::MagData> : StatusBit<Hal::MotionSampleStatus::DISCONTINUITY> {};
template <>
struct Discontinuity<Hal::ControllerImuData> : StatusBit<Hal::MotionSampleStatus::DISCONTINUITY> {};

}  // namespace Simulator
