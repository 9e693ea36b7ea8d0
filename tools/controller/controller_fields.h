// The fields of the records of the controllers' streams.
#pragma once

#include <vek/sensors/controller_records.h>

#include "record_origin.h"
#include "recording/fields.h"

template <>
struct Recording::Fields<Vek::Sensors::PairedControllerInfo> {
    static FieldList<Vek::Sensors::PairedControllerInfo> list();
};
template <>
struct Recording::Fields<Vek::Sensors::ControllerImuData> {
    static FieldList<Vek::Sensors::ControllerImuData> list();
};
template <>
struct Recording::Fields<Vek::Sensors::ButtonData> {
    static FieldList<Vek::Sensors::ButtonData> list();
};
template <>
struct Recording::Fields<Vek::Sensors::CurlData> {
    static FieldList<Vek::Sensors::CurlData> list();
};
template <>
struct Recording::Fields<Vek::Sensors::PrecisionPadData> {
    static FieldList<Vek::Sensors::PrecisionPadData> list();
};
template <>
struct Recording::Fields<Vek::Sensors::MultiTouchData> {
    static FieldList<Vek::Sensors::MultiTouchData> list();
};
template <>
struct Recording::Fields<Vek::Sensors::StylusData> {
    static FieldList<Vek::Sensors::StylusData> list();
};
template <>
struct Recording::Fields<Vek::Sensors::ControllerInputADCData> {
    static FieldList<Vek::Sensors::ControllerInputADCData> list();
};
template <>
struct Recording::Fields<Vek::Sensors::PoseInput> {
    static FieldList<Vek::Sensors::PoseInput> list();
};
template <>
struct Recording::Fields<Vek::Sensors::ControllerCollisionEvent> {
    static FieldList<Vek::Sensors::ControllerCollisionEvent> list();
};
template <>
struct Recording::Fields<Vek::Sensors::WirelessDeviceStats> {
    static FieldList<Vek::Sensors::WirelessDeviceStats> list();
};

// Each controller has its own sequence numbers.
RecordOrigin originOf(const Vek::Sensors::PairedControllerInfo& record);
RecordOrigin originOf(const Vek::Sensors::ControllerImuData& record);
RecordOrigin originOf(const Vek::Sensors::ButtonData& record);
RecordOrigin originOf(const Vek::Sensors::CurlData& record);
RecordOrigin originOf(const Vek::Sensors::PrecisionPadData& record);
RecordOrigin originOf(const Vek::Sensors::MultiTouchData& record);
RecordOrigin originOf(const Vek::Sensors::StylusData& record);
RecordOrigin originOf(const Vek::Sensors::ControllerInputADCData& record);
RecordOrigin originOf(const Vek::Sensors::PoseInput& record);
RecordOrigin originOf(const Vek::Sensors::ControllerCollisionEvent& record);
RecordOrigin originOf(const Vek::Sensors::WirelessDeviceStats& record);
