// The fields of the HAL's records in a recording, under the names that recordings have for them.
//
// A recording holds what clients get. Where that is less than the HAL's record has, the rest stays
// zero; times that are not recorded are those of the reception.
#pragma once

#include "hal.h"
#include "recording/fields.h"

namespace Recording {

namespace Hal = Simulator::Hal;

template <>
struct Fields<Hal::ImuData> {
    static FieldList<Hal::ImuData> list();
};
template <>
struct Fields<Hal::MagData> {
    static FieldList<Hal::MagData> list();
};
template <>
struct Fields<Hal::IadData> {
    static FieldList<Hal::IadData> list();
};
template <>
struct Fields<Hal::FlickerPeak> {
    static FieldList<Hal::FlickerPeak> list();
};
template <>
struct Fields<Hal::FlickerData> {
    static FieldList<Hal::FlickerData> list();
};
template <>
struct Fields<Hal::AdcFlickerData> {
    static FieldList<Hal::AdcFlickerData> list();
};
template <>
struct Fields<Hal::AmbientLightData> {
    static FieldList<Hal::AmbientLightData> list();
};
template <>
struct Fields<Hal::ExternalTimestampData> {
    static FieldList<Hal::ExternalTimestampData> list();
};
template <>
struct Fields<Hal::PairedControllerInfo> {
    static FieldList<Hal::PairedControllerInfo> list();
};
template <>
struct Fields<Hal::ControllerImuData> {
    static FieldList<Hal::ControllerImuData> list();
};
template <>
struct Fields<Hal::ButtonData> {
    static FieldList<Hal::ButtonData> list();
};
template <>
struct Fields<Hal::CurlData> {
    static FieldList<Hal::CurlData> list();
};
template <>
struct Fields<Hal::PrecisionPadData> {
    static FieldList<Hal::PrecisionPadData> list();
};
template <>
struct Fields<Hal::TouchPoint> {
    static FieldList<Hal::TouchPoint> list();
};
template <>
struct Fields<Hal::MultiTouchData> {
    static FieldList<Hal::MultiTouchData> list();
};
template <>
struct Fields<Hal::StylusData> {
    static FieldList<Hal::StylusData> list();
};
template <>
struct Fields<Hal::ControllerInputADCData> {
    static FieldList<Hal::ControllerInputADCData> list();
};
template <>
struct Fields<Hal::PoseInput> {
    static FieldList<Hal::PoseInput> list();
};
template <>
struct Fields<Hal::ControllerCollisionEvent> {
    static FieldList<Hal::ControllerCollisionEvent> list();
};
template <>
struct Fields<Hal::WirelessDeviceStats> {
    static FieldList<Hal::WirelessDeviceStats> list();
};
template <>
struct Fields<Hal::CameraFrame> {
    static FieldList<Hal::CameraFrame> list();
};
template <>
struct Fields<Hal::FrameSet> {
    static FieldList<Hal::FrameSet> list();
};

}  // namespace Recording
