// How the records of the light sensor and of external clocks are measured and written down.
#pragma once

#include <vek/sensors/external_timing.h>
#include <vek/sensors/flicker.h>

#include "record_format.h"

template <>
struct RecordFormat<Vek::Sensors::FlickerData> {
    static const char* const kCsvTitles;
    static std::optional<SampleHeader> header(const Vek::Sensors::FlickerData& record);
    static std::string describe(const Vek::Sensors::FlickerData& record);
    static void appendCsv(fmt::memory_buffer& out, const Vek::Sensors::FlickerData& record);
};

template <>
struct RecordFormat<Vek::Sensors::AdcFlickerData> {
    static const char* const kCsvTitles;
    /// The block's journey begins with its last sample.
    static std::optional<SampleHeader> header(const Vek::Sensors::AdcFlickerData& block);
    static std::string describe(const Vek::Sensors::AdcFlickerData& block);
    /// The samples are one column, separated by blanks.
    static void appendCsv(fmt::memory_buffer& out, const Vek::Sensors::AdcFlickerData& block);
};

template <>
struct RecordFormat<Vek::Sensors::AmbientLightData> {
    static const char* const kCsvTitles;
    static std::optional<SampleHeader> header(const Vek::Sensors::AmbientLightData& record);
    static std::string describe(const Vek::Sensors::AmbientLightData& record);
    static void appendCsv(fmt::memory_buffer& out, const Vek::Sensors::AmbientLightData& record);
};

template <>
struct RecordFormat<Vek::Sensors::ExternalTimestampData> {
    static const char* const kCsvTitles;
    static std::optional<SampleHeader> header(const Vek::Sensors::ExternalTimestampData& pulse);
    static std::string describe(const Vek::Sensors::ExternalTimestampData& pulse);
    static void appendCsv(fmt::memory_buffer& out,
                          const Vek::Sensors::ExternalTimestampData& pulse);
};
