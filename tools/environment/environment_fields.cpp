// The columns are in recording/environment_records.h; here is where a record comes from.
#include "environment/environment_fields.h"

#include <cstdint>

#include "environment/flicker_estimate.h"
#include "recording/environment_records.h"

using Vek::Sensors::AdcFlickerData;
using Vek::Sensors::AmbientLightData;
using Vek::Sensors::ExternalTimestampData;
using Vek::Sensors::FlickerData;
using Vek::Sensors::FlickerPeak;

namespace {

bool isLightDiscontinuity(uint32_t status) {
    return (status & Vek::Sensors::LIGHT_SAMPLE_DISCONTINUITY) != 0;
}

}  // namespace

template <>
struct Recording::Fields<FlickerPeak> {
    static FieldList<FlickerPeak> list() { return flickerPeakFields<FlickerPeak>(); }
};

namespace Recording {

FieldList<FlickerData> Fields<FlickerData>::list() {
    return flickerFields<FlickerData>();
}

FieldList<AdcFlickerData> Fields<AdcFlickerData>::list() {
    return adcFlickerFields<AdcFlickerData>();
}

FieldList<AmbientLightData> Fields<AmbientLightData>::list() {
    return ambientLightFields<AmbientLightData>();
}

FieldList<ExternalTimestampData> Fields<ExternalTimestampData>::list() {
    return externalTimestampFields<ExternalTimestampData>();
}

}  // namespace Recording

RecordOrigin originOf(const FlickerData& record) {
    return {0, record.timestamp, record.sequence, isLightDiscontinuity(record.status)};
}

RecordOrigin originOf(const AdcFlickerData& block) {
    // The service may send any values, so an impossible duration is ignored.
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
