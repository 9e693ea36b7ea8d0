// The proof that camera records that are carried bit for bit have one layout in the HAL's form and
// in the API's. Nothing here is executed.
#include <vek/sensors/camera_configuration.h>
#include <vek/sensors/frame_set.h>

#include "foundation/same_layout.h"

namespace Vek::Sensors {

MORIAK_SAME_SIZE(CameraFrame, 72);
MORIAK_SAME_PLACE(CameraFrame, timestamp);
MORIAK_SAME_PLACE(CameraFrame, arrivalTimestamp);
MORIAK_SAME_PLACE(CameraFrame, exposureTime);
MORIAK_SAME_PLACE(CameraFrame, analogGain);
MORIAK_SAME_PLACE(CameraFrame, digitalGain);
MORIAK_SAME_PLACE(CameraFrame, cameraId);
MORIAK_SAME_PLACE(CameraFrame, bufferIndex);
MORIAK_SAME_PLACE(CameraFrame, sequence);
MORIAK_SAME_PLACE(CameraFrame, frameType);
MORIAK_SAME_PLACE(CameraFrame, width);
MORIAK_SAME_PLACE(CameraFrame, height);
MORIAK_SAME_PLACE(CameraFrame, stride);
MORIAK_SAME_PLACE(CameraFrame, pixelFormat);
MORIAK_SAME_PLACE(CameraFrame, rowTime);
MORIAK_SAME_PLACE(CameraFrame, temperature);

MORIAK_SAME_SIZE(FrameSet, 744);
MORIAK_SAME_PLACE(FrameSet, timestamp);
MORIAK_SAME_PLACE(FrameSet, sequence);
MORIAK_SAME_PLACE(FrameSet, frameType);
MORIAK_SAME_PLACE(FrameSet, numFrames);
MORIAK_SAME_PLACE(FrameSet, muxState);
MORIAK_SAME_PLACE(FrameSet, frames);

MORIAK_SAME_SIZE(ExposureGain, 16);
MORIAK_SAME_PLACE(ExposureGain, exposureTime);
MORIAK_SAME_PLACE(ExposureGain, analogGain);
MORIAK_SAME_PLACE(ExposureGain, digitalGain);

MORIAK_SAME_SIZE(ExposureGainSettings, 168);
MORIAK_SAME_PLACE(ExposureGainSettings, numCameras);
MORIAK_SAME_PLACE(ExposureGainSettings, cameras);

MORIAK_SAME_SIZE(CameraConfiguration, 112);
MORIAK_SAME_PLACE(CameraConfiguration, cameraId);
MORIAK_SAME_PLACE(CameraConfiguration, width);
MORIAK_SAME_PLACE(CameraConfiguration, height);
MORIAK_SAME_PLACE(CameraConfiguration, stride);
MORIAK_SAME_PLACE(CameraConfiguration, pixelFormat);
MORIAK_SAME_PLACE(CameraConfiguration, resolution);
MORIAK_SAME_PLACE(CameraConfiguration, syncMode);
MORIAK_SAME_PLACE(CameraConfiguration, frameRate);
MORIAK_SAME_PLACE(CameraConfiguration, minExposureTime);
MORIAK_SAME_PLACE(CameraConfiguration, maxExposureTime);
MORIAK_SAME_PLACE(CameraConfiguration, phaseOffset);
MORIAK_SAME_PLACE(CameraConfiguration, minAnalogGain);
MORIAK_SAME_PLACE(CameraConfiguration, maxAnalogGain);
MORIAK_SAME_PLACE(CameraConfiguration, minDigitalGain);
MORIAK_SAME_PLACE(CameraConfiguration, maxDigitalGain);
MORIAK_SAME_PLACE(CameraConfiguration, cropLeft);
MORIAK_SAME_PLACE(CameraConfiguration, cropTop);
MORIAK_SAME_PLACE(CameraConfiguration, cropWidth);
MORIAK_SAME_PLACE(CameraConfiguration, cropHeight);
MORIAK_SAME_PLACE(CameraConfiguration, sensorWidth);
MORIAK_SAME_PLACE(CameraConfiguration, sensorHeight);
MORIAK_SAME_PLACE(CameraConfiguration, rowTime);
MORIAK_SAME_PLACE(CameraConfiguration, rotation);
MORIAK_SAME_PLACE(CameraConfiguration, binning);
MORIAK_SAME_PLACE(CameraConfiguration, numBuffers);

MORIAK_SAME_SIZE(CameraGlobalConfiguration, 64);
MORIAK_SAME_PLACE(CameraGlobalConfiguration, cameraId);
MORIAK_SAME_PLACE(CameraGlobalConfiguration, frameRate);
MORIAK_SAME_PLACE(CameraGlobalConfiguration, minExposureTime);
MORIAK_SAME_PLACE(CameraGlobalConfiguration, maxExposureTime);
MORIAK_SAME_PLACE(CameraGlobalConfiguration, minGain);
MORIAK_SAME_PLACE(CameraGlobalConfiguration, maxGain);
MORIAK_SAME_PLACE(CameraGlobalConfiguration, phaseOffset);
MORIAK_SAME_PLACE(CameraGlobalConfiguration, width);
MORIAK_SAME_PLACE(CameraGlobalConfiguration, height);
MORIAK_SAME_PLACE(CameraGlobalConfiguration, pixelFormat);
MORIAK_SAME_PLACE(CameraGlobalConfiguration, syncMode);
MORIAK_SAME_PLACE(CameraGlobalConfiguration, rowTime);
MORIAK_SAME_PLACE(CameraGlobalConfiguration, slots);

MORIAK_SAME_SIZE(CameraPerSlotConfiguration, 56);
MORIAK_SAME_PLACE(CameraPerSlotConfiguration, cameraId);
MORIAK_SAME_PLACE(CameraPerSlotConfiguration, frameType);
MORIAK_SAME_PLACE(CameraPerSlotConfiguration, exposureTime);
MORIAK_SAME_PLACE(CameraPerSlotConfiguration, analogGain);
MORIAK_SAME_PLACE(CameraPerSlotConfiguration, digitalGain);
MORIAK_SAME_PLACE(CameraPerSlotConfiguration, exposureOffset);
MORIAK_SAME_PLACE(CameraPerSlotConfiguration, cropLeft);
MORIAK_SAME_PLACE(CameraPerSlotConfiguration, cropTop);
MORIAK_SAME_PLACE(CameraPerSlotConfiguration, cropWidth);
MORIAK_SAME_PLACE(CameraPerSlotConfiguration, cropHeight);
MORIAK_SAME_PLACE(CameraPerSlotConfiguration, illuminators);
MORIAK_SAME_PLACE(CameraPerSlotConfiguration, resolution);

// The service's side of the records that are converted field by field.
static_assert(sizeof(Hidl::CameraProperties) == 40);
static_assert(sizeof(Hidl::ImageBufferDescription) == 32);
static_assert(sizeof(Hidl::MuxPurpose) == 32);
static_assert(sizeof(Hidl::MuxMode) == 80);
static_assert(sizeof(Hidl::MuxState) == 128);

}  // namespace Vek::Sensors
