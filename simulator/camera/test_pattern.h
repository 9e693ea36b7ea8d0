// What the simulated cameras see: a scene that moves, with the camera and the frame printed on it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "camera/camera_plan.h"
#include "hal.h"

namespace Simulator {

struct PixelPlane {
    uint8_t* pixels;
    Hal::PixelFormat format;
    // In pixels.
    uint32_t width;
    uint32_t height;
    /// From one row to the next, in bytes.
    uint32_t stride;
};

/// What the image is of.
struct PatternFrame {
    /// The last digit is printed.
    uint32_t camera;
    /// The last six digits are printed. The scene is a function of it.
    uint32_t number;
    /// Of the scene: 1 is well exposed, 0 black, from about 2 on more and more of it is white.
    double brightness;
};

/// Side of the squares that the print is made of, in pixels.
uint32_t printUnit(uint32_t imageWidth);

/// Diagonal stripes that travel to the left, a disc that circles, steps of grey along the lower
/// edge; and in the upper left corner, whatever the brightness, "camera-frame" in white on black.
/// In colour the greys between black and white are shades of blue; as depths, white is about 4 m.
void drawTestPattern(const PixelPlane& plane, const PatternFrame& frame);

}  // namespace Simulator
