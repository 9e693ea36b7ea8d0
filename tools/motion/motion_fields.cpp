// In the order of the columns.
#include "motion/motion_fields.h"

#include "field_words.h"

using Vek::Sensors::IadData;
using Vek::Sensors::ImuData;
using Vek::Sensors::MagData;

namespace {

const Words kClipped = wordsOfBits({{0, "clipped"}});

template <typename Sample>
RecordOrigin originOfSample(const Sample& sample) {
    return {0, sample.timestamp, sample.sequence,
            (sample.status & Vek::Sensors::MOTION_SAMPLE_DISCONTINUITY) != 0};
}

}  // namespace

namespace Recording {

FieldList<ImuData> Fields<ImuData>::list() {
    return {number("timestamp", "ns", &ImuData::timestamp),
            number("arrival_timestamp", "ns", &ImuData::arrivalTimestamp),
            array("acceleration", kXyz, "m/s^2", &ImuData::acceleration).shown(2),
            array("angular_rate", kXyz, "rad/s", &ImuData::angularRate).shown(3),
            number("temperature", "C", &ImuData::temperature).shown(1),
            number("sequence", "", &ImuData::sequence),
            number("sensor", "", &ImuData::sensor),
            number("status", "", &ImuData::status).shownAs(kClipped),
            number("acceleration_range", "m/s^2", &ImuData::accelerationRange),
            number("angular_rate_range", "rad/s", &ImuData::angularRateRange)};
}

FieldList<MagData> Fields<MagData>::list() {
    return {number("timestamp", "ns", &MagData::timestamp),
            array("field", kXyz, "uT", &MagData::field).shown(2),
            number("temperature", "C", &MagData::temperature).shown(1),
            number("sequence", "", &MagData::sequence),
            number("sensor", "", &MagData::sensor),
            number("status", "", &MagData::status).shownAs(kClipped),
            number("range", "uT", &MagData::range)};
}

FieldList<IadData> Fields<IadData>::list() {
    return {number("distance", "mm", &IadData::distance).shown(2)};
}

}  // namespace Recording

RecordOrigin originOf(const ImuData& sample) {
    return originOfSample(sample);
}
RecordOrigin originOf(const MagData& sample) {
    return originOfSample(sample);
}
RecordOrigin originOf(const IadData& /*reading*/) {
    return {};
}
