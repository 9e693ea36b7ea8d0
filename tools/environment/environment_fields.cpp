// In the order of the columns.
#include "environment/environment_fields.h"

#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "environment/flicker_estimate.h"
#include "field_words.h"

using Vek::Sensors::AdcFlickerData;
using Vek::Sensors::AmbientLightData;
using Vek::Sensors::ExternalTimestampData;
using Vek::Sensors::FlickerData;
using Vek::Sensors::FlickerPeak;

namespace {

const Words kSaturated = wordsOfBits({{0, "saturated"}});
const Words kLocked = wordsOfBits({{0, "locked"}});

/// How far a clock is off, rather than how many of its seconds pass in one.
std::string rateError(std::string_view cell) {
    double rate = 0;
    return Recording::readCell(cell, rate) ? fmt::format("{:+.2f} ppm", (rate - 1) * 1e6) : "";
}

bool isLightDiscontinuity(uint32_t status) {
    return (status & Vek::Sensors::LIGHT_SAMPLE_DISCONTINUITY) != 0;
}

}  // namespace

template <>
struct Recording::Fields<FlickerPeak> {
    static FieldList<FlickerPeak> list() {
        return {number("", "Hz", &FlickerPeak::frequency),
                number("amplitude", "", &FlickerPeak::amplitude)};
    }
};

namespace Recording {

FieldList<FlickerData> Fields<FlickerData>::list() {
    using Data = FlickerData;
    return FieldList<Data>(joined<Data>(
        {{number("timestamp", "ns", &Data::timestamp),
          number("arrival_timestamp", "ns", &Data::arrivalTimestamp),
          number("sequence", "", &Data::sequence),
          number("status", "", &Data::status).shownAs(kSaturated),
          number("frequency", "Hz", &Data::frequency).shown(2),
          number("confidence", "", &Data::confidence).shown("confidence", 2),
          number("modulation_depth", "", &Data::modulationDepth).shown("depth", 2),
          number("flicker_index", "", &Data::flickerIndex),
          number("mean_level", "", &Data::meanLevel).shown("mean", 0),
          number("gain", "", &Data::gain), number("sample_rate", "Hz", &Data::sampleRate),
          number("peak_count", "", &Data::peakCount)},
         each("peak_{i}_{name}", &Data::peaks)}));
}

FieldList<AdcFlickerData> Fields<AdcFlickerData>::list() {
    using Data = AdcFlickerData;
    return {number("timestamp", "ns", &Data::timestamp),
            number("arrival_timestamp", "ns", &Data::arrivalTimestamp),
            number("sequence", "", &Data::sequence),
            number("status", "", &Data::status).shownAs(kSaturated),
            number("sample_rate", "Hz", &Data::sampleRate).shown("", 0),
            number("sample_count", "", &Data::sampleCount).shown("samples"),
            Recording::list("samples", "", &Data::samples, &Data::sampleCount)};
}

FieldList<AmbientLightData> Fields<AmbientLightData>::list() {
    using Data = AmbientLightData;
    return {number("timestamp", "ns", &Data::timestamp),
            number("arrival_timestamp", "ns", &Data::arrivalTimestamp),
            number("sequence", "", &Data::sequence),
            number("status", "", &Data::status).shownAs(kSaturated),
            number("illuminance", "lx", &Data::illuminance).shown(1),
            number("color_temperature", "K", &Data::colorTemperature).shown("", 0),
            array("chromaticity", kXy, "", &Data::chromaticity).shown("xy", 4),
            number("infrared", "W/m^2", &Data::infrared),
            number("integration_time", "s", &Data::integrationTime),
            number("gain", "", &Data::gain),
            number("illuminance_range", "lx", &Data::illuminanceRange),
            number("channel_count", "", &Data::channelCount),
            number("saturated_channels", "", &Data::saturatedChannels),
            array("channel", kNumbers, "", &Data::channels)};
}

FieldList<ExternalTimestampData> Fields<ExternalTimestampData>::list() {
    using Data = ExternalTimestampData;
    return {number("timestamp", "ns", &Data::timestamp),
            number("arrival_timestamp", "ns", &Data::arrivalTimestamp),
            number("external_timestamp", "ns", &Data::externalTimestamp).shown(),
            number("clock_rate", "", &Data::clockRate).shownAs(rateError),
            number("uncertainty", "ns", &Data::uncertainty),
            number("sequence", "", &Data::sequence),
            number("source", "", &Data::source).shown("clock"),
            number("status", "", &Data::status).shownAs(kLocked)};
}

}  // namespace Recording

RecordOrigin originOf(const FlickerData& record) {
    return {0, record.timestamp, record.sequence, isLightDiscontinuity(record.status)};
}

RecordOrigin originOf(const AdcFlickerData& block) {
    // The service may have sent anything: a length that no block has counts as none.
    const double seconds = static_cast<double>(samplesOf(block).size()) / block.sampleRate;
    const bool isPlausible =
        seconds >= 0 && seconds < 1e6 && block.timestamp >= 0 && block.timestamp < INT64_MAX / 2;
    const int64_t length = isPlausible ? static_cast<int64_t>(seconds * 1e9) : 0;
    return {0, block.timestamp + length, block.sequence, isLightDiscontinuity(block.status)};
}

RecordOrigin originOf(const AmbientLightData& record) {
    return {0, record.timestamp, record.sequence, isLightDiscontinuity(record.status)};
}

RecordOrigin originOf(const ExternalTimestampData& pulse) {
    return {0, pulse.timestamp, pulse.sequence,
            (pulse.status & Vek::Sensors::EXTERNAL_TIMESTAMP_DISCONTINUITY) != 0};
}
