// An eye as the camera on the rim of the headset's optics sees it.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "world/geometry.h"
#include "world/lens.h"
#include "world/random.h"
#include "world/renderer.h"

namespace Simulator {

/// What an eye does at a moment.
struct EyeState {
    /// Direction of the gaze, along the headset's axes; of length 1.
    Vector gaze;
    /// 1: open, 0: shut.
    double openness;
};

/// Both eyes look about in saccades, at places near and far, and blink.
/// @param eye along the headset's axes
EyeState eyeStateAt(const Random& random, const Vector& eye, int64_t worldTime);

/// Threading: constant once it is made, for any thread.
class EyeRenderer {
  public:
    /// Illuminators on a ring around the camera.
    static constexpr size_t kIlluminators = 8;

    /// @param camera headset from camera
    /// @param eye middle of the eyeball, along the headset's axes
    EyeRenderer(const Lens& lens, uint32_t width, uint32_t height, const Pose& camera,
                const Vector& eye);
    ~EyeRenderer();

    /// Draws all tiles, row by row from left to right, as LED light.
    /// @param illuminators how bright each of them is; all at 1: an image exposed well
    void draw(const EyeState& state, const std::array<float, kIlluminators>& illuminators,
              const std::function<void(const Tile&)>& take) const;

  private:
    struct Surface;

    uint32_t columns_;
    std::vector<Surface> surfaces_;  // by tile
    /// Where each illuminator is mirrored in the eye, in pixels.
    std::array<Eigen::Vector2f, kIlluminators> glints_;
};

}  // namespace Simulator
