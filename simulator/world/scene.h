// The scene's contents: textured rectangles, ellipsoids and points of light.
#pragma once

#include <vector>

#include "world/geometry.h"
#include "world/texture.h"

namespace Simulator {

/// How a colour deviates from grey, in red, green and blue; chosen so that its luminance does not.
using Tint = Eigen::Vector3f;

/// A tint of that hue, in rad.
Tint tintOf(double hue);

struct Rectangle {
    /// The upper left corner, as seen from the front.
    Vector corner;
    /// From there to the upper right and the lower left corner; at right angles.
    Vector right;
    Vector down;
    const Texture* texture;
    /// Of the corner, in the texture.
    Eigen::Vector2d texel = Eigen::Vector2d::Zero();
    double texelsPerMetre;
    /// Light on it: 1 where the texture's white is white in a well exposed image.
    float light;
    Tint tint;
};

/// Opaque; only its rectangles' fronts are seen.
struct Solid {
    std::vector<Rectangle> sides;
    // A sphere around it.
    Vector centre;
    double radius;
};

/// A block.
/// @param size along the axes of its pose, which is world from block
/// @param texture of all sides, in different places
Solid block(const Pose& pose, const Vector& size, const Texture& texture, double texelsPerMetre,
            const Tint& tint);

struct Ellipsoid {
    /// Pose of the ellipsoid: world from ellipsoid.
    Pose pose;
    /// Half lengths of the axes.
    Vector radii;
    /// 0 to 1.
    float reflectance;
    Tint tint;
};

struct Led {
    Vector position;
    /// Where it shines to.
    Vector normal;
    /// In m.
    double radius;
    /// In the unit of Rectangle::light.
    float light;
};

struct Scene {
    /// Around everything. Its sides are walls without an end, seen from inside.
    Solid room;
    std::vector<Solid> solids;
    std::vector<Ellipsoid> ellipsoids;
    std::vector<Led> leds;
};

}  // namespace Simulator
