// The cameras that commands are about.
#pragma once

#include <vek/sensors/camera.h>

#include <string>

/// @param wanted its number or its name, which may be shortened. Throws Failure, with those that
/// there are, if there is no such camera.
Vek::Sensors::CameraProperties findCamera(Vek::Sensors::ICameraProvider& provider,
                                          const std::string& wanted);
