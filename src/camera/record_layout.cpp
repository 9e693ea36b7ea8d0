// Proves at compile time that camera records that are copied bit for bit have the same layout in
// the HAL and in the API.
#include <vek/sensors/camera_configuration.h>
#include <vek/sensors/frame_set.h>

#include "foundation/same_layout.h"

namespace Vek::Sensors {

MORIAK_SAME_LAYOUT(CameraFrame, 72);
MORIAK_SAME_LAYOUT(FrameSet, 744);
MORIAK_SAME_LAYOUT(ExposureGain, 16);
MORIAK_SAME_LAYOUT(ExposureGainSettings, 168);
MORIAK_SAME_LAYOUT(CameraConfiguration, 112);
MORIAK_SAME_LAYOUT(CameraGlobalConfiguration, 64);
MORIAK_SAME_LAYOUT(CameraPerSlotConfiguration, 56);

// HAL records that are converted field by field.
static_assert(sizeof(Hidl::CameraProperties) == 40);
static_assert(sizeof(Hidl::ImageBufferDescription) == 32);
static_assert(sizeof(Hidl::MuxPurpose) == 32);
static_assert(sizeof(Hidl::MuxMode) == 80);
static_assert(sizeof(Hidl::MuxState) == 128);

}  // namespace Vek::Sensors
