// The HAL's records have the columns of the client API's. Nobody reads them as text.
#include "replay/record_fields.h"

#include "recording/camera_records.h"
#include "recording/controller_records.h"
#include "recording/environment_records.h"
#include "recording/motion_records.h"

namespace Recording {

FieldList<Hidl::ImuData> Fields<Hidl::ImuData>::list() {
    return imuFields<Hidl::ImuData>();
}
FieldList<Hidl::MagData> Fields<Hidl::MagData>::list() {
    return magFields<Hidl::MagData>();
}
FieldList<Hidl::IadData> Fields<Hidl::IadData>::list() {
    return iadFields<Hidl::IadData>();
}
FieldList<Hidl::FlickerPeak> Fields<Hidl::FlickerPeak>::list() {
    return flickerPeakFields<Hidl::FlickerPeak>();
}
FieldList<Hidl::FlickerData> Fields<Hidl::FlickerData>::list() {
    return flickerFields<Hidl::FlickerData>();
}
FieldList<Hidl::AdcFlickerData> Fields<Hidl::AdcFlickerData>::list() {
    return adcFlickerFields<Hidl::AdcFlickerData>();
}
FieldList<Hidl::AmbientLightData> Fields<Hidl::AmbientLightData>::list() {
    return ambientLightFields<Hidl::AmbientLightData>();
}
FieldList<Hidl::ExternalTimestampData> Fields<Hidl::ExternalTimestampData>::list() {
    return externalTimestampFields<Hidl::ExternalTimestampData>();
}
FieldList<Hidl::PairedControllerInfo> Fields<Hidl::PairedControllerInfo>::list() {
    return pairedControllerFields<Hidl::PairedControllerInfo>({}, {});
}
FieldList<Hidl::ControllerImuData> Fields<Hidl::ControllerImuData>::list() {
    return controllerImuFields<Hidl::ControllerImuData>();
}
FieldList<Hidl::ControllerSampleHeader> Fields<Hidl::ControllerSampleHeader>::list() {
    return controllerHeaderFields<Hidl::ControllerSampleHeader>();
}
FieldList<Hidl::ButtonData> Fields<Hidl::ButtonData>::list() {
    return buttonFields<Hidl::ButtonData>({});
}
FieldList<Hidl::CurlData> Fields<Hidl::CurlData>::list() {
    return curlFields<Hidl::CurlData>();
}
FieldList<Hidl::PrecisionPadData> Fields<Hidl::PrecisionPadData>::list() {
    return precisionPadFields<Hidl::PrecisionPadData>();
}
FieldList<Hidl::TouchPoint> Fields<Hidl::TouchPoint>::list() {
    return touchPointFields<Hidl::TouchPoint>();
}
FieldList<Hidl::MultiTouchData> Fields<Hidl::MultiTouchData>::list() {
    return multiTouchFields<Hidl::MultiTouchData>();
}
FieldList<Hidl::StylusData> Fields<Hidl::StylusData>::list() {
    return stylusFields<Hidl::StylusData>();
}
FieldList<Hidl::ControllerInputADCData> Fields<Hidl::ControllerInputADCData>::list() {
    return controllerAdcFields<Hidl::ControllerInputADCData>();
}
FieldList<Hidl::PoseInput> Fields<Hidl::PoseInput>::list() {
    return poseInputFields<Hidl::PoseInput>();
}
FieldList<Hidl::ControllerCollisionEvent> Fields<Hidl::ControllerCollisionEvent>::list() {
    return collisionFields<Hidl::ControllerCollisionEvent>();
}
FieldList<Hidl::WirelessDeviceStats> Fields<Hidl::WirelessDeviceStats>::list() {
    return wirelessStatsFields<Hidl::WirelessDeviceStats>();
}
FieldList<Hidl::CameraFrame> Fields<Hidl::CameraFrame>::list() {
    return cameraFrameFields<Hidl::CameraFrame>();
}
FieldList<Hidl::FrameSet> Fields<Hidl::FrameSet>::list() {
    return frameSetFields<Hidl::FrameSet>();
}

}  // namespace Recording
