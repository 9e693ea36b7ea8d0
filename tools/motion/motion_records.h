// How the records of the motion streams are measured and written down.
#pragma once

#include <vek/sensors/motion.h>

#include "record_format.h"

template <>
struct RecordFormat<Vek::Sensors::ImuData> {
    static const char* const kCsvTitles;
    static std::optional<SampleHeader> header(const Vek::Sensors::ImuData& sample);
    static std::string describe(const Vek::Sensors::ImuData& sample);
    static void appendCsv(fmt::memory_buffer& out, const Vek::Sensors::ImuData& sample);
};

template <>
struct RecordFormat<Vek::Sensors::MagData> {
    static const char* const kCsvTitles;
    static std::optional<SampleHeader> header(const Vek::Sensors::MagData& sample);
    static std::string describe(const Vek::Sensors::MagData& sample);
    static void appendCsv(fmt::memory_buffer& out, const Vek::Sensors::MagData& sample);
};

template <>
struct RecordFormat<Vek::Sensors::IadData> {
    static const char* const kCsvTitles;
    static std::optional<SampleHeader> header(const Vek::Sensors::IadData& reading);
    static std::string describe(const Vek::Sensors::IadData& reading);
    static void appendCsv(fmt::memory_buffer& out, const Vek::Sensors::IadData& reading);
};
