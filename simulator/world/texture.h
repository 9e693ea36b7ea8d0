// Textures of the surfaces of the simulated room.
#pragma once

#include <cstdint>
#include <vector>

#include "world/random.h"

namespace Simulator {

/// A grey picture, and smaller ones of it: each pixel of a level is the mean of four of the level
/// before. Levels end when a side would be odd or short.
///
/// Threading: constant once it is made, for any thread.
class Texture {
  public:
    struct Level {
        uint32_t width;
        uint32_t height;
        std::vector<uint8_t> pixels;
    };

    /// Rectangles and discs of all sizes and greys, the large ones under the small ones, with a
    /// grain on it: corners at every distance, and no two places alike.
    /// @param texelsPerMetre how large the smallest and largest of them are
    Texture(uint32_t width, uint32_t height, double texelsPerMetre, const Random& random);

    /// Draws over a rectangle, of whole texels.
    void fill(uint32_t left, uint32_t top, uint32_t width, uint32_t height, uint8_t grey);

    /// To be called once all is drawn.
    void makeLevels();

    const Level& level(size_t index) const { return levels_[index]; }
    size_t levelCount() const { return levels_.size(); }

  private:
    std::vector<Level> levels_;
};

}  // namespace Simulator
