// The calibration that the service hands out of each camera.
#pragma once

#include <hidl/HidlSupport.h>

#include <string>
#include <vector>

#include "camera/camera_plan.h"
#include "world/sensor_settings.h"

namespace Simulator {

/// JSON, in the terms of Lens and CameraPlan: size in pixels, rate in Hz, rowTime in ns,
/// "intrinsics" fu, fv, cu, cv, "distortionModel" "radial-tangential" or "equidistant" with its
/// four numbers, and "T_BS", the matrix body from camera (translation in m), row by row.
std::string factoryCalibration(const CameraStreamPlan& stream, const CameraPlan& camera);

/// JSON: noise of the IMU that the cameras' places refer to, and the names of the session data that
/// clients have written.
std::string deviceCalibration(const CameraPlan& camera, const ImuSettings& imu,
                              const std::vector<std::string>& sessionData);

/// Both as zero-terminated texts, each in a region of its own. Null if there is no memory.
android::hardware::hidl_handle calibrationHandle(const std::string& factory,
                                                 const std::string& device);

}  // namespace Simulator
