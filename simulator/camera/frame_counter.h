// The print by which one can tell frames and cameras apart.
#pragma once

#include <cstdint>

#include "camera/image_source.h"

namespace Simulator {

/// Side of the squares that the print is made of, in pixels.
uint32_t printUnit(uint32_t imageWidth);

/// Prints "camera-frame" in white on black into the upper left corner: the last digit of the
/// camera's id and the last six of the frame's sequence number.
void printFrameCounter(const ImageRequest& request, const PixelPlane& plane);

}  // namespace Simulator
