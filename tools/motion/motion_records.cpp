// The texts of records, field by field.
#include "motion/motion_records.h"

#include <iterator>

using Vek::Sensors::IadData;
using Vek::Sensors::ImuData;
using Vek::Sensors::MagData;

namespace {

template <typename Sample>
SampleHeader sampleHeader(const Sample& sample) {
    return {sample.timestamp, sample.sequence,
            (sample.status & Vek::Sensors::MOTION_SAMPLE_DISCONTINUITY) != 0};
}

const char* clippedMark(uint32_t status) {
    return (status & Vek::Sensors::MOTION_SAMPLE_CLIPPED) != 0 ? "  clipped" : "";
}

}  // namespace

std::optional<SampleHeader> RecordFormat<ImuData>::header(const ImuData& sample) {
    return sampleHeader(sample);
}
std::optional<SampleHeader> RecordFormat<MagData>::header(const MagData& sample) {
    return sampleHeader(sample);
}
std::optional<SampleHeader> RecordFormat<IadData>::header(const IadData& /*reading*/) {
    return std::nullopt;
}

std::string RecordFormat<ImuData>::describe(const ImuData& sample) {
    const auto& a = sample.acceleration;
    const auto& w = sample.angularRate;
    return fmt::format("{:.2f} {:.2f} {:.2f} m/s^2  {:.3f} {:.3f} {:.3f} rad/s  {:.1f} C{}", a[0],
                       a[1], a[2], w[0], w[1], w[2], sample.temperature,
                       clippedMark(sample.status));
}

std::string RecordFormat<MagData>::describe(const MagData& sample) {
    const auto& b = sample.field;
    return fmt::format("{:.2f} {:.2f} {:.2f} uT  {:.1f} C{}", b[0], b[1], b[2], sample.temperature,
                       clippedMark(sample.status));
}

std::string RecordFormat<IadData>::describe(const IadData& reading) {
    return fmt::format("{:.2f} mm", reading.distance);
}

const char* const RecordFormat<ImuData>::kCsvTitles =
    "timestamp_ns,arrival_timestamp_ns,acceleration_x_m_s2,acceleration_y_m_s2,"
    "acceleration_z_m_s2,angular_rate_x_rad_s,angular_rate_y_rad_s,angular_rate_z_rad_s,"
    "temperature_c,sequence,sensor,status,acceleration_range_m_s2,angular_rate_range_rad_s";
const char* const RecordFormat<MagData>::kCsvTitles =
    "timestamp_ns,field_x_ut,field_y_ut,field_z_ut,temperature_c,sequence,sensor,"
    "status,range_ut";
const char* const RecordFormat<IadData>::kCsvTitles = "distance_mm";

void RecordFormat<ImuData>::appendCsv(fmt::memory_buffer& out, const ImuData& sample) {
    const auto& a = sample.acceleration;
    const auto& w = sample.angularRate;
    fmt::format_to(std::back_inserter(out), "{},{},{},{},{},{},{},{},{},{},{},{},{},{}",
                   sample.timestamp, sample.arrivalTimestamp, a[0], a[1], a[2], w[0], w[1], w[2],
                   sample.temperature, sample.sequence, sample.sensor, sample.status,
                   sample.accelerationRange, sample.angularRateRange);
}

void RecordFormat<MagData>::appendCsv(fmt::memory_buffer& out, const MagData& sample) {
    const auto& b = sample.field;
    fmt::format_to(std::back_inserter(out), "{},{},{},{},{},{},{},{},{}", sample.timestamp, b[0],
                   b[1], b[2], sample.temperature, sample.sequence, sample.sensor, sample.status,
                   sample.range);
}

void RecordFormat<IadData>::appendCsv(fmt::memory_buffer& out, const IadData& reading) {
    fmt::format_to(std::back_inserter(out), "{}", reading.distance);
}
