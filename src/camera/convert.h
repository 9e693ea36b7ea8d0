// Camera records between the HAL's form and the API's.
#pragma once

#include <vek/sensors/camera_configuration.h>

#include <vector>

#include "foundation/hal.h"

namespace Vek::Sensors::Convert {

/// Leaves the calibration empty: the service returns it separately.
CameraProperties fromHidl(const Hidl::CameraProperties& properties);

ChannelSettings fromHidl(const Hidl::ChannelSettings& settings);
Hidl::ChannelSettings intoHidl(const ChannelSettings& settings);

Hidl::FrameRateSettings intoHidl(const FrameRateSettings& settings);

/// Sets the entries beyond numCameras to zero. Ends the process if there are more than
/// kMaxFrameSetSize.
Hidl::ExposureGainSettings intoHidl(const ExposureGainSettings& input);

android::hardware::hidl_vec<Hidl::Resolution> intoHidl(const std::vector<Resolution>& resolutions);

/// Maps the image buffers.
CameraStreamMetadata fromHidl(const Hidl::CameraStreamMetadata& metadata);

CameraStreamConfiguration fromHidl(const Hidl::CameraStreamConfiguration& configuration);

MuxMode fromHidl(const Hidl::MuxMode& muxMode);
FrameSetConfigurationUpdate fromHidl(const Hidl::MuxState& state);

}  // namespace Vek::Sensors::Convert
