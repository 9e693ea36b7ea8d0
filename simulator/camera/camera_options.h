// The command line's options about the cameras and what they see.
#pragma once

#include <CLI/App.hpp>

#include "camera/camera_settings.h"

namespace Simulator {

void addCameraOptions(CLI::App& app, CameraSettings* settings);

}  // namespace Simulator
