// The proof that the records of this folder that are not converted have one layout in the HAL's
// form and the API's. Nothing here is executed.
#include <vek/sensors/external_timing.h>
#include <vek/sensors/face_eye_tracking_led.h>
#include <vek/sensors/flicker.h>
#include <vek/sensors/tamb_stream.h>

#include "foundation/same_layout.h"

namespace Vek::Sensors {

MORIAK_SAME_SIZE(FlickerPeak, 8);
MORIAK_SAME_PLACE(FlickerPeak, frequency);
MORIAK_SAME_PLACE(FlickerPeak, amplitude);

MORIAK_SAME_SIZE(FlickerData, 88);
MORIAK_SAME_PLACE(FlickerData, timestamp);
MORIAK_SAME_PLACE(FlickerData, arrivalTimestamp);
MORIAK_SAME_PLACE(FlickerData, sequence);
MORIAK_SAME_PLACE(FlickerData, status);
MORIAK_SAME_PLACE(FlickerData, frequency);
MORIAK_SAME_PLACE(FlickerData, confidence);
MORIAK_SAME_PLACE(FlickerData, modulationDepth);
MORIAK_SAME_PLACE(FlickerData, flickerIndex);
MORIAK_SAME_PLACE(FlickerData, meanLevel);
MORIAK_SAME_PLACE(FlickerData, gain);
MORIAK_SAME_PLACE(FlickerData, sampleRate);
MORIAK_SAME_PLACE(FlickerData, peakCount);
MORIAK_SAME_PLACE(FlickerData, peaks);

MORIAK_SAME_SIZE(AdcFlickerData, 8224);
MORIAK_SAME_PLACE(AdcFlickerData, timestamp);
MORIAK_SAME_PLACE(AdcFlickerData, arrivalTimestamp);
MORIAK_SAME_PLACE(AdcFlickerData, sequence);
MORIAK_SAME_PLACE(AdcFlickerData, status);
MORIAK_SAME_PLACE(AdcFlickerData, sampleRate);
MORIAK_SAME_PLACE(AdcFlickerData, sampleCount);
MORIAK_SAME_PLACE(AdcFlickerData, samples);

MORIAK_SAME_SIZE(AmbientLightData, 104);
MORIAK_SAME_PLACE(AmbientLightData, timestamp);
MORIAK_SAME_PLACE(AmbientLightData, arrivalTimestamp);
MORIAK_SAME_PLACE(AmbientLightData, sequence);
MORIAK_SAME_PLACE(AmbientLightData, status);
MORIAK_SAME_PLACE(AmbientLightData, illuminance);
MORIAK_SAME_PLACE(AmbientLightData, colorTemperature);
MORIAK_SAME_PLACE(AmbientLightData, chromaticity);
MORIAK_SAME_PLACE(AmbientLightData, infrared);
MORIAK_SAME_PLACE(AmbientLightData, integrationTime);
MORIAK_SAME_PLACE(AmbientLightData, gain);
MORIAK_SAME_PLACE(AmbientLightData, illuminanceRange);
MORIAK_SAME_PLACE(AmbientLightData, channelCount);
MORIAK_SAME_PLACE(AmbientLightData, saturatedChannels);
MORIAK_SAME_PLACE(AmbientLightData, channels);

MORIAK_SAME_SIZE(ExternalTimestampData, 48);
MORIAK_SAME_PLACE(ExternalTimestampData, timestamp);
MORIAK_SAME_PLACE(ExternalTimestampData, arrivalTimestamp);
MORIAK_SAME_PLACE(ExternalTimestampData, externalTimestamp);
MORIAK_SAME_PLACE(ExternalTimestampData, clockRate);
MORIAK_SAME_PLACE(ExternalTimestampData, uncertainty);
MORIAK_SAME_PLACE(ExternalTimestampData, sequence);
MORIAK_SAME_PLACE(ExternalTimestampData, source);
MORIAK_SAME_PLACE(ExternalTimestampData, status);

MORIAK_SAME_SIZE(FaceEyeTrackingLedConfiguration, 16);
MORIAK_SAME_PLACE(FaceEyeTrackingLedConfiguration, group);
MORIAK_SAME_PLACE(FaceEyeTrackingLedConfiguration, channel);
MORIAK_SAME_PLACE(FaceEyeTrackingLedConfiguration, current);
MORIAK_SAME_PLACE(FaceEyeTrackingLedConfiguration, pulseWidth);

MORIAK_SAME_SIZE(KivraRpcHeader, 16);
MORIAK_SAME_PLACE(KivraRpcHeader, procedure);
MORIAK_SAME_PLACE(KivraRpcHeader, sequence);
MORIAK_SAME_PLACE(KivraRpcHeader, sentTimestamp);

// Ends in a vector, of which only the HAL's has a fixed size.
static_assert(sizeof(Hidl::KivraRpcMessage) == 56);
static_assert(sizeof(ControllerAddr) == 8 && offsetof(KivraRpcMessage, header) == 8);
static_assert(offsetof(Hidl::KivraRpcMessage, payload) == 40 &&
              offsetof(KivraRpcMessage, payload) == 40);

}  // namespace Vek::Sensors
