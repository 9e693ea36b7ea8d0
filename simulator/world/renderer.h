// Draws a scene as one camera sees it, by casting a ray through the middle of each pixel.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "world/lens.h"
#include "world/scene.h"

namespace Simulator {

/// Images are drawn in tiles, so that all that is needed of one stays in the cache.
inline constexpr uint32_t kTileWidth = 16;
inline constexpr uint32_t kTileHeight = 8;
inline constexpr uint32_t kTileSize = kTileWidth * kTileHeight;

using TilePlane = std::array<float, kTileSize>;  // row by row

/// What came through the lens onto one tile. White under the room's usual light is 255.
struct Tile {
    /// Of the tile, in tiles.
    uint32_t column = 0;
    uint32_t row = 0;
    /// Light of the room's lamps. Grey images have the first only, coloured ones red, green and
    /// blue.
    alignas(64) std::array<TilePlane, 3> light{};
    /// Light of LEDs, on all channels.
    alignas(64) TilePlane ledLight{};
    /// Distance along the camera's axis, in m, at the last of the moments.
    alignas(64) TilePlane depth{};
};

/// A scene from a place, prepared for drawing.
struct View;

/// Threading: constant once it is made, for any thread.
class Renderer {
  public:
    Renderer(const Lens& lens, uint32_t width, uint32_t height);
    ~Renderer();

    uint32_t tileColumns() const { return columns_; }
    uint32_t tileRows() const { return rows_; }

    /// @param camera world from camera
    View viewOf(const Scene& scene, const Pose& camera) const;

    /// Draws one row of tiles, the mean of several moments.
    /// @param views at least one; their scenes must be there still
    /// @param take called with each of the row's tiles, from left to right
    void draw(uint32_t tileRow, const std::vector<View>& views, bool isColored,
              const std::function<void(const Tile&)>& take) const;

  private:
    struct Rays;
    struct Field;

    /// Adds what a tile sees at one moment.
    void drawTile(const View& view, size_t index, bool isColored, float weight, Tile* tile) const;

    const Lens lens_;
    uint32_t columns_;
    uint32_t rows_;
    std::vector<Rays> rays_;     // by tile
    std::vector<Field> fields_;  // by tile
};

struct View {
    using Vector3 = std::array<float, 3>;

    /// For a ray r: c * r is one over the distance, and a * r and b * r, divided by it, are the
    /// place in the texture, in texels.
    struct Plane {
        Vector3 a;
        Vector3 b;
        Vector3 c;
        /// Texels, of the rectangle's edges.
        std::array<float, 2> low;
        std::array<float, 2> high;
        const Rectangle* rectangle;
    };
    /// The directions in which a thing can be.
    struct Cone {
        Vector3 axis;
        float cosine;
        float sine;
    };
    struct Solid {
        Cone cone;
        std::vector<Plane> planes;
    };
    struct Ellipsoid {
        Cone cone;
        /// Ray to where the ellipsoid is a sphere of radius 1, row by row.
        std::array<Vector3, 3> toSphere;
        /// The camera, there.
        Vector3 camera;
        /// A normal there to one in the world, of any length.
        std::array<Vector3, 3> toWorld;
        float light;
        Tint tint;
    };
    struct Blob {
        // In pixels.
        float u;
        float v;
        float deviation;
        /// At the middle.
        float light;
        /// One over the distance of what hides it.
        float inverseDistance;
    };

    std::vector<Plane> room;
    std::vector<Solid> solids;
    std::vector<Ellipsoid> ellipsoids;
    std::vector<Blob> blobs;
};

}  // namespace Simulator
