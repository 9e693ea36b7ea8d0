// Names of the cameras' enumerations for users.
#pragma once

#include <vek/sensors/camera.h>

#include <string>
#include <vector>

/// The frame types that can have a stream.
std::vector<Vek::Sensors::FrameType> streamFrameTypes();

/// The name in lower case, such as "headset"; the number of a value without a name.
std::string nameOf(Vek::Sensors::FrameType type);
std::string nameOf(Vek::Sensors::PixelFormat format);
std::string nameOf(Vek::Sensors::Resolution resolution);
