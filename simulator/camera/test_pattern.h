// What the simulated cameras see: a scene that moves, with the camera and the frame printed on it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "camera/image_source.h"

namespace Simulator {

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

class TestPattern : public ImageSource {
  public:
    void draw(const ImageRequest& request, const PixelPlane& plane) override;
    std::string calibration(const CameraStreamPlan& stream,
                            const CameraPlan& camera) const override;
};

}  // namespace Simulator
