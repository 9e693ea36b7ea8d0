// The fields of the records of the light sensor and of external clocks.
#pragma once

#include <vek/sensors/external_timing.h>
#include <vek/sensors/flicker.h>

#include "record_origin.h"
#include "recording/fields.h"

template <>
struct Recording::Fields<Vek::Sensors::FlickerData> {
    static FieldList<Vek::Sensors::FlickerData> list();
};
template <>
struct Recording::Fields<Vek::Sensors::AdcFlickerData> {
    static FieldList<Vek::Sensors::AdcFlickerData> list();
};
template <>
struct Recording::Fields<Vek::Sensors::AmbientLightData> {
    static FieldList<Vek::Sensors::AmbientLightData> list();
};
template <>
struct Recording::Fields<Vek::Sensors::ExternalTimestampData> {
    static FieldList<Vek::Sensors::ExternalTimestampData> list();
};

RecordOrigin originOf(const Vek::Sensors::FlickerData& record);
/// The time stamp is that of the block's last sample, so latency counts from there.
RecordOrigin originOf(const Vek::Sensors::AdcFlickerData& block);
RecordOrigin originOf(const Vek::Sensors::AmbientLightData& record);
/// Each clock has its own sequence numbers.
RecordOrigin originOf(const Vek::Sensors::ExternalTimestampData& pulse);
