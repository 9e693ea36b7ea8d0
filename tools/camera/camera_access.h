// Finds the camera that a command names.
#pragma once

#include <vek/sensors/camera.h>

#include <string>

/// @param wanted number or name of the camera; the name may be shortened. Throws Failure, listing
/// the cameras, if there is no such camera.
Vek::Sensors::CameraProperties findCamera(Vek::Sensors::ICameraProvider& provider,
                                          const std::string& wanted);
