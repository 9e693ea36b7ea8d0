// How the records of each stream are measured and written down.
#pragma once

#include <fmt/format.h>
#include <vek/sensors/motion.h>

#include <optional>
#include <string>

#include "stream_statistics.h"

/// Empty for records that carry no time and no number.
std::optional<SampleHeader> headerOf(const Vek::Sensors::ImuData& sample);
std::optional<SampleHeader> headerOf(const Vek::Sensors::MagData& sample);
std::optional<SampleHeader> headerOf(const Vek::Sensors::IadData& reading);

/// The values for a table, with units.
std::string describe(const Vek::Sensors::ImuData& sample);
std::string describe(const Vek::Sensors::MagData& sample);
std::string describe(const Vek::Sensors::IadData& reading);

/// The title line of a CSV file of `Data`, without a line end. The first column is the time of the
/// callback (CLOCK_MONOTONIC, in ns), the others are all fields of the record.
template <typename Data>
extern const char* const kCsvTitles;
template <>
extern const char* const kCsvTitles<Vek::Sensors::ImuData>;
template <>
extern const char* const kCsvTitles<Vek::Sensors::MagData>;
template <>
extern const char* const kCsvTitles<Vek::Sensors::IadData>;

/// Appends a line with its line end; numbers read back as exactly what they were.
void appendCsv(fmt::memory_buffer& out, int64_t received, const Vek::Sensors::ImuData& sample);
void appendCsv(fmt::memory_buffer& out, int64_t received, const Vek::Sensors::MagData& sample);
void appendCsv(fmt::memory_buffer& out, int64_t received, const Vek::Sensors::IadData& reading);
