// Converts the light on an image sensor to pixel values.
#pragma once

#include <cstdint>
#include <vector>

#include "camera/image_source.h"
#include "environment/room_light.h"
#include "world/renderer.h"

namespace Simulator {

/// Middle of a row's exposure, in ns from that of the middle row.
int64_t exposureOfRow(const ImageRequest& request, const PixelPlane& plane, double row);

/// Reads out one exposure. Values are proportional to exposure time, gain and the lamps' light
/// during each row's exposure, plus photon and read noise, which the gain multiplies. The noise of
/// a pixel is a function of seed, camera, frame and position.
///
/// Threading: immutable. Any thread may use it; different threads must write different tiles.
class Readout {
  public:
    Readout(const ImageRequest& request, const RoomLight& lamps, uint64_t seed,
            const PixelPlane& plane);

    /// Writes the part of the tile that lies in the plane.
    void write(const Tile& tile) const;

  private:
    using Values = TilePlane;

    Values valuesOf(const TilePlane& light, const Tile& tile, uint32_t channel) const;
    Values depthsOf(const Tile& tile) const;
    const float* noiseFor(const Tile& tile, uint32_t channel) const;

    const PixelPlane plane_;
    uint64_t noiseKey_;
    /// Pixel value per unit of light for each row, at the usual light of the room. Padded to whole
    /// tiles.
    std::vector<float> lampGain_;
    float ledGain_;
    // Variance of a value: the part proportional to it, and the constant part.
    float photonNoise_;
    float readNoise_;
};

}  // namespace Simulator
