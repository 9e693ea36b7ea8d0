// The words that the user knows cameras' enumerations by.
#pragma once

#include <vek/sensors/camera.h>

#include <string>
#include <vector>

/// The types that there can be a stream of.
std::vector<Vek::Sensors::FrameType> streamFrameTypes();

/// In lower case, as in "headset"; a value that has no name as its number.
std::string nameOf(Vek::Sensors::FrameType type);
std::string nameOf(Vek::Sensors::PixelFormat format);
std::string nameOf(Vek::Sensors::Resolution resolution);
