#include "world/scene.h"

#include <cmath>

namespace Simulator {
namespace {

/// Light comes from lamps along the ceiling, and back from floor and walls.
float lightOn(const Vector& normal) {
    return static_cast<float>(0.78 + 0.2 * normal.z() + 0.06 * normal.x() - 0.04 * normal.y());
}

}  // namespace

Tint tintOf(double hue) {
    // Weights of the primaries in luminance (Rec. 709).
    const Eigen::Vector3f luminance{0.2126F, 0.7152F, 0.0722F};
    const Eigen::Vector3d color{std::cos(hue), std::cos(hue - 2 * M_PI / 3),
                                std::cos(hue + 2 * M_PI / 3)};
    const Tint tint = color.cast<float>();
    return tint - Tint::Constant(luminance.dot(tint));
}

Solid block(const Pose& pose, const Vector& size, const Texture& texture, double texelsPerMetre,
            const Tint& tint) {
    Solid solid{{}, pose.position, size.norm() / 2};
    const Texture::Level& level = texture.level(0);
    for (int side = 0; side < 6; ++side) {
        const int axis = side / 2;
        Vector normal = Vector::Zero();
        normal[axis] = side % 2 == 0 ? 1 : -1;
        // Downwards is down; on top and bottom, where there is no such direction, along y.
        const Vector down = axis == 2 ? Vector(-normal.z() * Vector::UnitY()) : -Vector::UnitZ();
        const Vector right = normal.cross(down);
        const Vector rightEdge = right.cwiseProduct(size);
        const Vector downEdge = down.cwiseProduct(size);
        const Vector corner = normal.cwiseProduct(size) / 2 - (rightEdge + downEdge) / 2;
        // Anywhere in the texture, but each time the same.
        const double spare = level.width - rightEdge.norm() * texelsPerMetre;
        const double spareBelow = level.height - downEdge.norm() * texelsPerMetre;
        const double place = std::fmod(0.37 * (side + 1) + 1.7 * size.sum(), 1.0);
        solid.sides.push_back({pose * corner,
                               pose.orientation * rightEdge,
                               pose.orientation * downEdge,
                               &texture,
                               {place * spare, (1 - place) * spareBelow},
                               texelsPerMetre,
                               lightOn(pose.orientation * normal),
                               tint});
    }
    return solid;
}

}  // namespace Simulator
