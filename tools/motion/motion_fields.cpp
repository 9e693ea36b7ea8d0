// The columns are in recording/motion_records.h; here is where a record comes from.
#include "motion/motion_fields.h"

#include "recording/motion_records.h"

using Vek::Sensors::IadData;
using Vek::Sensors::ImuData;
using Vek::Sensors::MagData;

namespace {

template <typename Sample>
RecordOrigin originOfSample(const Sample& sample) {
    return {0, sample.timestamp, sample.sequence,
            (sample.status & Vek::Sensors::MOTION_SAMPLE_DISCONTINUITY) != 0};
}

}  // namespace

namespace Recording {

FieldList<ImuData> Fields<ImuData>::list() {
    return imuFields<ImuData>();
}

FieldList<MagData> Fields<MagData>::list() {
    return magFields<MagData>();
}

FieldList<IadData> Fields<IadData>::list() {
    return iadFields<IadData>();
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
