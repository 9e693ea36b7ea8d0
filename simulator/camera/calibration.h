// The calibration texts that the service returns for each camera.
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

/// JSON: noise of the IMU to which the cameras' mounts refer, and the names of the session data
/// that clients have written.
std::string deviceCalibration(const CameraPlan& camera, const ImuSettings& imu,
                              const std::vector<std::string>& sessionData);

/// A handle of two shared-memory regions, each with one zero-terminated text. Null if memory is
/// exhausted.
android::hardware::hidl_handle calibrationHandle(const std::string& factory,
                                                 const std::string& device);

}  // namespace Simulator
