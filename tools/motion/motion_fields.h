// The fields of the motion streams' records.
#pragma once

#include <vek/sensors/motion.h>

#include "record_origin.h"
#include "recording/fields.h"

template <>
struct Recording::Fields<Vek::Sensors::ImuData> {
    static FieldList<Vek::Sensors::ImuData> list();
};
template <>
struct Recording::Fields<Vek::Sensors::MagData> {
    static FieldList<Vek::Sensors::MagData> list();
};
template <>
struct Recording::Fields<Vek::Sensors::IadData> {
    static FieldList<Vek::Sensors::IadData> list();
};

RecordOrigin originOf(const Vek::Sensors::ImuData& sample);
RecordOrigin originOf(const Vek::Sensors::MagData& sample);
RecordOrigin originOf(const Vek::Sensors::IadData& reading);
