// Proves at compile time that the records of this folder that are not converted have the same
// layout in the HAL and in the API.
#include <vek/sensors/external_timing.h>
#include <vek/sensors/face_eye_tracking_led.h>
#include <vek/sensors/flicker.h>
#include <vek/sensors/tamb_stream.h>

#include <cstddef>

#include "foundation/same_layout.h"

namespace Vek::Sensors {

MORIAK_SAME_LAYOUT(FlickerPeak, 8);
MORIAK_SAME_LAYOUT(FlickerData, 88);
MORIAK_SAME_LAYOUT(AdcFlickerData, 8224);
MORIAK_SAME_LAYOUT(AmbientLightData, 104);
MORIAK_SAME_LAYOUT(ExternalTimestampData, 48);
MORIAK_SAME_LAYOUT(FaceEyeTrackingLedConfiguration, 16);
MORIAK_SAME_LAYOUT(KivraRpcHeader, 16);

// The record ends in a vector; only the HAL's vector has a fixed size.
static_assert(sizeof(Hidl::KivraRpcMessage) == 56);
static_assert(sizeof(ControllerAddr) == 8 && offsetof(KivraRpcMessage, header) == 8);
static_assert(offsetof(Hidl::KivraRpcMessage, payload) == 40 &&
              offsetof(KivraRpcMessage, payload) == 40);

}  // namespace Vek::Sensors
