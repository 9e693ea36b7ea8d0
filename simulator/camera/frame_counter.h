// Prints the camera and the frame number into an image.
#pragma once

#include <cstdint>

#include "camera/image_source.h"

namespace Simulator {

/// Prints "camera-frame" in white on black into the upper left corner: the last digit of the
/// camera's id and the last six of the frame's sequence number.
void printFrameCounter(const ImageRequest& request, const PixelPlane& plane);

}  // namespace Simulator
