// The fields of the HAL's records in a recording, under the names that recordings have for them.
//
// A recording holds the records that clients get. Fields that only the HAL's record has stay zero;
// times that are not recorded are set to the time of reception.
#pragma once

#include "hal.h"
#include "recording/fields.h"

namespace Recording {

namespace Hidl = Simulator::Hidl;

template <>
struct Fields<Hidl::ImuData> {
    static FieldList<Hidl::ImuData> list();
};
template <>
struct Fields<Hidl::MagData> {
    static FieldList<Hidl::MagData> list();
};
template <>
struct Fields<Hidl::IadData> {
    static FieldList<Hidl::IadData> list();
};
template <>
struct Fields<Hidl::FlickerPeak> {
    static FieldList<Hidl::FlickerPeak> list();
};
template <>
struct Fields<Hidl::FlickerData> {
    static FieldList<Hidl::FlickerData> list();
};
template <>
struct Fields<Hidl::AdcFlickerData> {
    static FieldList<Hidl::AdcFlickerData> list();
};
template <>
struct Fields<Hidl::AmbientLightData> {
    static FieldList<Hidl::AmbientLightData> list();
};
template <>
struct Fields<Hidl::ExternalTimestampData> {
    static FieldList<Hidl::ExternalTimestampData> list();
};
template <>
struct Fields<Hidl::PairedControllerInfo> {
    static FieldList<Hidl::PairedControllerInfo> list();
};
template <>
struct Fields<Hidl::ControllerImuData> {
    static FieldList<Hidl::ControllerImuData> list();
};
template <>
struct Fields<Hidl::ControllerSampleHeader> {
    static FieldList<Hidl::ControllerSampleHeader> list();
};
template <>
struct Fields<Hidl::ButtonData> {
    static FieldList<Hidl::ButtonData> list();
};
template <>
struct Fields<Hidl::CurlData> {
    static FieldList<Hidl::CurlData> list();
};
template <>
struct Fields<Hidl::PrecisionPadData> {
    static FieldList<Hidl::PrecisionPadData> list();
};
template <>
struct Fields<Hidl::TouchPoint> {
    static FieldList<Hidl::TouchPoint> list();
};
template <>
struct Fields<Hidl::MultiTouchData> {
    static FieldList<Hidl::MultiTouchData> list();
};
template <>
struct Fields<Hidl::StylusData> {
    static FieldList<Hidl::StylusData> list();
};
template <>
struct Fields<Hidl::ControllerInputADCData> {
    static FieldList<Hidl::ControllerInputADCData> list();
};
template <>
struct Fields<Hidl::PoseInput> {
    static FieldList<Hidl::PoseInput> list();
};
template <>
struct Fields<Hidl::ControllerCollisionEvent> {
    static FieldList<Hidl::ControllerCollisionEvent> list();
};
template <>
struct Fields<Hidl::WirelessDeviceStats> {
    static FieldList<Hidl::WirelessDeviceStats> list();
};
template <>
struct Fields<Hidl::CameraFrame> {
    static FieldList<Hidl::CameraFrame> list();
};
template <>
struct Fields<Hidl::FrameSet> {
    static FieldList<Hidl::FrameSet> list();
};

}  // namespace Recording
