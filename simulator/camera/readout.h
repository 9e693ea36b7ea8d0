// What an image sensor makes of the light that falls on it.
#pragma once

#include <cstdint>
#include <vector>

#include "camera/image_source.h"
#include "environment/room_light.h"
#include "world/renderer.h"

namespace Simulator {

/// Middle of a row's exposure, in ns from that of the middle row.
int64_t exposureOfRow(const ImageRequest& request, const PixelPlane& plane, double row);

/// One exposure: values go with time, gain and the lamps' light during each row's exposure, and are
/// blurred by the noise of photons and of the electronics, both of which the gain multiplies.
/// The noise of a pixel is a function of seed, camera, frame and place.
///
/// Threading: constant, for any thread; distinct tiles at the same time.
class Readout {
  public:
    Readout(const ImageRequest& request, const RoomLight& lamps, uint64_t seed,
            const PixelPlane& plane);

    /// Writes what of the tile lies in the plane.
    void write(const Tile& tile) const;

  private:
    using Values = TilePlane;

    Values valuesOf(const TilePlane& light, const Tile& tile, uint32_t channel) const;
    Values depthsOf(const Tile& tile) const;
    const float* noiseFor(const Tile& tile, uint32_t channel) const;

    const PixelPlane plane_;
    uint64_t noiseKey_;
    /// By row, up to whole tiles: value for light, at the usual light of the room.
    std::vector<float> lampGain_;
    float ledGain_;
    // Variance of a value: for each unit of it, and always.
    float photonNoise_;
    float readNoise_;
};

}  // namespace Simulator
