// How the records of the controllers' streams are measured and written down.
#pragma once

#include <vek/sensors/controller_records.h>

#include "record_format.h"

/// Of records that come without numbers.
template <typename Data>
struct UnnumberedFormat {
    static std::optional<SampleHeader> header(const Data& /*record*/) { return std::nullopt; }
};

template <>
struct RecordFormat<Vek::Sensors::PairedControllerInfo>
    : UnnumberedFormat<Vek::Sensors::PairedControllerInfo> {
    static const char* const kCsvTitles;
    static std::string describe(const Vek::Sensors::PairedControllerInfo& record);
    static void appendCsv(fmt::memory_buffer& out,
                          const Vek::Sensors::PairedControllerInfo& record);
};

template <>
struct RecordFormat<Vek::Sensors::ControllerImuData> {
    static const char* const kCsvTitles;
    static std::optional<SampleHeader> header(const Vek::Sensors::ControllerImuData& record);
    static std::string describe(const Vek::Sensors::ControllerImuData& record);
    static void appendCsv(fmt::memory_buffer& out, const Vek::Sensors::ControllerImuData& record);
};

template <>
struct RecordFormat<Vek::Sensors::ButtonData> {
    static const char* const kCsvTitles;
    static std::optional<SampleHeader> header(const Vek::Sensors::ButtonData& record);
    static std::string describe(const Vek::Sensors::ButtonData& record);
    static void appendCsv(fmt::memory_buffer& out, const Vek::Sensors::ButtonData& record);
};

template <>
struct RecordFormat<Vek::Sensors::CurlData> : UnnumberedFormat<Vek::Sensors::CurlData> {
    static const char* const kCsvTitles;
    static std::string describe(const Vek::Sensors::CurlData& record);
    static void appendCsv(fmt::memory_buffer& out, const Vek::Sensors::CurlData& record);
};

template <>
struct RecordFormat<Vek::Sensors::PrecisionPadData>
    : UnnumberedFormat<Vek::Sensors::PrecisionPadData> {
    static const char* const kCsvTitles;
    static std::string describe(const Vek::Sensors::PrecisionPadData& record);
    static void appendCsv(fmt::memory_buffer& out, const Vek::Sensors::PrecisionPadData& record);
};

template <>
struct RecordFormat<Vek::Sensors::MultiTouchData> : UnnumberedFormat<Vek::Sensors::MultiTouchData> {
    static const char* const kCsvTitles;
    static std::string describe(const Vek::Sensors::MultiTouchData& record);
    static void appendCsv(fmt::memory_buffer& out, const Vek::Sensors::MultiTouchData& record);
};

template <>
struct RecordFormat<Vek::Sensors::StylusData> : UnnumberedFormat<Vek::Sensors::StylusData> {
    static const char* const kCsvTitles;
    static std::string describe(const Vek::Sensors::StylusData& record);
    static void appendCsv(fmt::memory_buffer& out, const Vek::Sensors::StylusData& record);
};

template <>
struct RecordFormat<Vek::Sensors::ControllerInputADCData>
    : UnnumberedFormat<Vek::Sensors::ControllerInputADCData> {
    static const char* const kCsvTitles;
    static std::string describe(const Vek::Sensors::ControllerInputADCData& record);
    static void appendCsv(fmt::memory_buffer& out,
                          const Vek::Sensors::ControllerInputADCData& record);
};

template <>
struct RecordFormat<Vek::Sensors::PoseInput> {
    static const char* const kCsvTitles;
    static std::optional<SampleHeader> header(const Vek::Sensors::PoseInput& record);
    static std::string describe(const Vek::Sensors::PoseInput& record);
    static void appendCsv(fmt::memory_buffer& out, const Vek::Sensors::PoseInput& record);
};

template <>
struct RecordFormat<Vek::Sensors::ControllerCollisionEvent> {
    static const char* const kCsvTitles;
    static std::optional<SampleHeader> header(const Vek::Sensors::ControllerCollisionEvent& record);
    static std::string describe(const Vek::Sensors::ControllerCollisionEvent& record);
    static void appendCsv(fmt::memory_buffer& out,
                          const Vek::Sensors::ControllerCollisionEvent& record);
};

template <>
struct RecordFormat<Vek::Sensors::WirelessDeviceStats>
    : UnnumberedFormat<Vek::Sensors::WirelessDeviceStats> {
    static const char* const kCsvTitles;
    static std::string describe(const Vek::Sensors::WirelessDeviceStats& record);
    static void appendCsv(fmt::memory_buffer& out, const Vek::Sensors::WirelessDeviceStats& record);
};
