// The texts of records, field by field.
#include "environment/environment_records.h"

#include <iterator>

#include "environment/flicker_estimate.h"

using Vek::Sensors::AdcFlickerData;
using Vek::Sensors::AmbientLightData;
using Vek::Sensors::ExternalTimestampData;
using Vek::Sensors::FlickerData;

namespace {

bool isLightDiscontinuity(uint32_t status) {
    return (status & Vek::Sensors::LIGHT_SAMPLE_DISCONTINUITY) != 0;
}

const char* saturatedMark(uint32_t status) {
    return (status & Vek::Sensors::LIGHT_SAMPLE_SATURATED) != 0 ? "  saturated" : "";
}

}  // namespace

std::optional<SampleHeader> RecordFormat<FlickerData>::header(const FlickerData& record) {
    return SampleHeader{record.timestamp, record.sequence, isLightDiscontinuity(record.status)};
}
std::optional<SampleHeader> RecordFormat<AdcFlickerData>::header(const AdcFlickerData& block) {
    // The service may have sent anything: a length that no block has counts as none.
    const double seconds = static_cast<double>(samplesOf(block).size()) / block.sampleRate;
    const bool isPlausible =
        seconds >= 0 && seconds < 1e6 && block.timestamp >= 0 && block.timestamp < INT64_MAX / 2;
    const int64_t length = isPlausible ? static_cast<int64_t>(seconds * 1e9) : 0;
    return SampleHeader{block.timestamp + length, block.sequence,
                        isLightDiscontinuity(block.status)};
}
std::optional<SampleHeader> RecordFormat<AmbientLightData>::header(const AmbientLightData& record) {
    return SampleHeader{record.timestamp, record.sequence, isLightDiscontinuity(record.status)};
}
std::optional<SampleHeader> RecordFormat<ExternalTimestampData>::header(
    const ExternalTimestampData& pulse) {
    return SampleHeader{pulse.timestamp, pulse.sequence,
                        (pulse.status & Vek::Sensors::EXTERNAL_TIMESTAMP_DISCONTINUITY) != 0};
}

std::string RecordFormat<FlickerData>::describe(const FlickerData& record) {
    return fmt::format("{:.2f} Hz  confidence {:.2f}  depth {:.2f}  mean {:.0f}{}",
                       record.frequency, record.confidence, record.modulationDepth,
                       record.meanLevel, saturatedMark(record.status));
}
std::string RecordFormat<AdcFlickerData>::describe(const AdcFlickerData& block) {
    return fmt::format("{} samples at {:.0f} Hz{}", samplesOf(block).size(), block.sampleRate,
                       saturatedMark(block.status));
}
std::string RecordFormat<AmbientLightData>::describe(const AmbientLightData& record) {
    return fmt::format("{:.1f} lx  {:.0f} K  x {:.4f} y {:.4f}{}", record.illuminance,
                       record.colorTemperature, record.chromaticity[0], record.chromaticity[1],
                       saturatedMark(record.status));
}
std::string RecordFormat<ExternalTimestampData>::describe(const ExternalTimestampData& pulse) {
    const bool isLocked = (pulse.status & Vek::Sensors::EXTERNAL_TIMESTAMP_LOCKED) != 0;
    return fmt::format("clock {}  {} ns  {:+.2f} ppm{}", pulse.source, pulse.externalTimestamp,
                       (pulse.clockRate - 1) * 1e6, isLocked ? "  locked" : "");
}

const char* const RecordFormat<FlickerData>::kCsvTitles =
    "timestamp_ns,arrival_timestamp_ns,sequence,status,frequency_hz,confidence,modulation_depth,"
    "flicker_index,mean_level,gain,sample_rate_hz,peak_count,peak_0_hz,peak_0_amplitude,peak_1_hz,"
    "peak_1_amplitude,peak_2_hz,peak_2_amplitude,peak_3_hz,peak_3_amplitude";
const char* const RecordFormat<AdcFlickerData>::kCsvTitles =
    "timestamp_ns,arrival_timestamp_ns,sequence,status,sample_rate_hz,sample_count,samples";
const char* const RecordFormat<AmbientLightData>::kCsvTitles =
    "timestamp_ns,arrival_timestamp_ns,sequence,status,illuminance_lx,color_temperature_k,"
    "chromaticity_x,chromaticity_y,infrared_w_m2,integration_time_s,gain,illuminance_range_lx,"
    "channel_count,saturated_channels,channel_0,channel_1,channel_2,channel_3,channel_4,channel_5,"
    "channel_6,channel_7,channel_8,channel_9";
const char* const RecordFormat<ExternalTimestampData>::kCsvTitles =
    "timestamp_ns,arrival_timestamp_ns,external_timestamp_ns,clock_rate,uncertainty_ns,sequence,"
    "source,status";

void RecordFormat<FlickerData>::appendCsv(fmt::memory_buffer& out, const FlickerData& record) {
    const auto end = std::back_inserter(out);
    fmt::format_to(end, "{},{},{},{},{},{},{},{},{},{},{},{}", record.timestamp,
                   record.arrivalTimestamp, record.sequence, record.status, record.frequency,
                   record.confidence, record.modulationDepth, record.flickerIndex, record.meanLevel,
                   record.gain, record.sampleRate, record.peakCount);
    for (const Vek::Sensors::FlickerPeak& peak : record.peaks) {
        fmt::format_to(end, ",{},{}", peak.frequency, peak.amplitude);
    }
}

void RecordFormat<AdcFlickerData>::appendCsv(fmt::memory_buffer& out, const AdcFlickerData& block) {
    fmt::format_to(std::back_inserter(out), "{},{},{},{},{},{},{}", block.timestamp,
                   block.arrivalTimestamp, block.sequence, block.status, block.sampleRate,
                   block.sampleCount, fmt::join(samplesOf(block), " "));
}

void RecordFormat<AmbientLightData>::appendCsv(fmt::memory_buffer& out,
                                               const AmbientLightData& record) {
    fmt::format_to(std::back_inserter(out), "{},{},{},{},{},{},{},{},{},{},{},{},{},{},{}",
                   record.timestamp, record.arrivalTimestamp, record.sequence, record.status,
                   record.illuminance, record.colorTemperature, record.chromaticity[0],
                   record.chromaticity[1], record.infrared, record.integrationTime, record.gain,
                   record.illuminanceRange, record.channelCount, record.saturatedChannels,
                   fmt::join(record.channels, ","));
}

void RecordFormat<ExternalTimestampData>::appendCsv(fmt::memory_buffer& out,
                                                    const ExternalTimestampData& pulse) {
    fmt::format_to(std::back_inserter(out), "{},{},{},{},{},{},{},{}", pulse.timestamp,
                   pulse.arrivalTimestamp, pulse.externalTimestamp, pulse.clockRate,
                   pulse.uncertainty, pulse.sequence, pulse.source, pulse.status);
}
