// The loops over the pixels of a tile are written so that the compiler makes vector code of them:
// arrays of a fixed size, no branches, no calls.
#include "world/renderer.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace Simulator {

struct Renderer::Rays {
    alignas(64) TilePlane x;
    alignas(64) TilePlane y;
    alignas(64) TilePlane z;
};

/// The directions that a tile sees, and the spacing of its pixels.
struct Renderer::Field {
    View::Cone cone;
    View::Vector3 middle;
    // One pixel beside it.
    View::Vector3 right;
    View::Vector3 below;
};

namespace {

using Vector3 = View::Vector3;
using Plane = View::Plane;

/// Becomes part of drawTile, whose machine code there is for several processors.
#define KERNEL inline __attribute__((always_inline))

constexpr size_t kMaxPlanes = 64;  // that one tile may see
/// Places in a texture are counted in 1/256 texel.
constexpr float kFraction = 256;

Vector3 toArray(const Eigen::Vector3d& vector) {
    const Eigen::Vector3f narrow = vector.cast<float>();
    return {narrow.x(), narrow.y(), narrow.z()};
}

float dot(const Vector3& a, const Vector3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

bool canBeIn(const View::Cone& field, const View::Cone& thing) {
    return dot(field.axis, thing.axis) > field.cosine * thing.cosine - field.sine * thing.sine;
}

/// @param centre from the camera, along its axes
View::Cone coneAround(const Eigen::Vector3d& centre, double radius) {
    const double distance = centre.norm();
    if (distance <= radius) {
        return {toArray(Eigen::Vector3d::UnitZ()), -1, 0};  // it can be anywhere
    }
    const double sine = radius / distance;
    return {toArray(centre / distance), static_cast<float>(std::sqrt(1 - sine * sine)),
            static_cast<float>(sine)};
}

/// A plane as one tile sees it: in the texture's level that fits, places counted in its fractions.
struct TilePlaneView {
    Vector3 a;
    Vector3 b;
    Vector3 c;
    std::array<float, 2> low;
    std::array<float, 2> high;
    const uint8_t* pixels;
    int32_t width;
    // The last place that has a texel to the right and below.
    int32_t lastU;
    int32_t lastV;
    float light;
    Tint tint;
};

/// What each pixel sees: the inverse distance, the plane, and the place in its texture.
struct Hits {
    alignas(64) TilePlane inverse;
    alignas(64) TilePlane u;
    alignas(64) TilePlane v;
    alignas(64) std::array<int32_t, kTileSize> plane;
};

/// Which level of the texture has about a texel for a pixel.
KERNEL size_t levelFor(const Plane& plane, const Vector3& middle, const Vector3& right,
                       const Vector3& below) {
    const size_t last = plane.rectangle->texture->levelCount() - 1;
    const float cm = dot(plane.c, middle);
    const float cr = dot(plane.c, right);
    const float cb = dot(plane.c, below);
    if (cm <= 0 || cr <= 0 || cb <= 0) {
        return last;
    }
    const float u = dot(plane.a, middle) / cm;
    const float v = dot(plane.b, middle) / cm;
    const auto step = [&](const Vector3& beside, float c) {
        return std::hypot(dot(plane.a, beside) / c - u, dot(plane.b, beside) / c - v);
    };
    const float texelsPerPixel = std::sqrt(step(right, cr) * step(below, cb));
    if (!(texelsPerPixel > 1)) {
        return 0;
    }
    return std::min(last, static_cast<size_t>(std::lround(std::log2(texelsPerPixel))));
}

KERNEL TilePlaneView inLevel(const Plane& plane, size_t index) {
    const Texture::Level& level = plane.rectangle->texture->level(index);
    const float scale = kFraction / static_cast<float>(1U << index);
    TilePlaneView view{};
    // The middle of a texel is what it is the colour of.
    for (size_t i = 0; i < 3; ++i) {
        view.a[i] = scale * plane.a[i] - kFraction / 2 * plane.c[i];
        view.b[i] = scale * plane.b[i] - kFraction / 2 * plane.c[i];
    }
    view.c = plane.c;
    for (size_t i = 0; i < 2; ++i) {
        view.low[i] = scale * plane.low[i] - kFraction / 2;
        view.high[i] = scale * plane.high[i] - kFraction / 2;
    }
    view.pixels = level.pixels.data();
    view.width = static_cast<int32_t>(level.width);
    view.lastU = static_cast<int32_t>(level.width - 1) * static_cast<int32_t>(kFraction) - 1;
    view.lastV = static_cast<int32_t>(level.height - 1) * static_cast<int32_t>(kFraction) - 1;
    view.light = plane.rectangle->light;
    view.tint = plane.rectangle->tint;
    return view;
}

template <typename Rays>
KERNEL void startWith(const TilePlaneView& plane, const Rays& rays, Hits* hits) {
    for (size_t i = 0; i < kTileSize; ++i) {
        const float x = rays.x[i];
        const float y = rays.y[i];
        const float z = rays.z[i];
        hits->inverse[i] = plane.c[0] * x + plane.c[1] * y + plane.c[2] * z;
        hits->u[i] = plane.a[0] * x + plane.a[1] * y + plane.a[2] * z;
        hits->v[i] = plane.b[0] * x + plane.b[1] * y + plane.b[2] * z;
    }
    hits->plane.fill(0);
}

/// Compares a plane with the nearest hits so far and keeps the nearer ones.
template <typename Rays>
KERNEL void compareWith(const TilePlaneView& plane, int32_t index, const Rays& rays, Hits* hits) {
#pragma clang loop vectorize(enable)
    for (size_t i = 0; i < kTileSize; ++i) {
        const float x = rays.x[i];
        const float y = rays.y[i];
        const float z = rays.z[i];
        const float inverse = plane.c[0] * x + plane.c[1] * y + plane.c[2] * z;
        const float u = plane.a[0] * x + plane.a[1] * y + plane.a[2] * z;
        const float v = plane.b[0] * x + plane.b[1] * y + plane.b[2] * z;
        const float insideU = std::min(u - plane.low[0] * inverse, plane.high[0] * inverse - u);
        const float insideV = std::min(v - plane.low[1] * inverse, plane.high[1] * inverse - v);
        const float nearer = inverse - hits->inverse[i];
        const bool isHit = std::min(std::min(insideU, insideV), nearer) > 0;
        hits->inverse[i] = isHit ? inverse : hits->inverse[i];
        hits->u[i] = isHit ? u : hits->u[i];
        hits->v[i] = isHit ? v : hits->v[i];
        hits->plane[i] = isHit ? index : hits->plane[i];
    }
}

/// What the textures have there, between their texels.
struct Looked {
    alignas(64) TilePlane grey;   // 0 to 255
    alignas(64) TilePlane light;  // of the planes
    std::array<TilePlane, 3> tint;
};

template <bool isOnePlane>
KERNEL void lookUp(const TilePlaneView* planes, const Hits& hits, bool isColored, Looked* looked) {
    constexpr float kLimit = 1e6F;  // no texture is that large
    alignas(64) std::array<int32_t, kTileSize> u;
    alignas(64) std::array<int32_t, kTileSize> v;
    for (size_t i = 0; i < kTileSize; ++i) {
        const float scale = 1 / hits.inverse[i];
        const float placeU = hits.u[i] * scale;
        const float placeV = hits.v[i] * scale;
        // What is no number, either, becomes 0.
        const float aboveU = placeU > 0 ? placeU : 0;
        const float aboveV = placeV > 0 ? placeV : 0;
        u[i] = static_cast<int32_t>(aboveU < kLimit ? aboveU : kLimit);
        v[i] = static_cast<int32_t>(aboveV < kLimit ? aboveV : kLimit);
    }
    alignas(64) std::array<uint16_t, kTileSize> upper;
    alignas(64) std::array<uint16_t, kTileSize> lower;
    for (size_t i = 0; i < kTileSize; ++i) {
        const TilePlaneView& plane = planes[isOnePlane ? 0 : hits.plane[i]];
        u[i] = std::min(u[i], plane.lastU);
        v[i] = std::min(v[i], plane.lastV);
        const uint8_t* const texels = plane.pixels + (v[i] >> 8) * plane.width + (u[i] >> 8);
        std::memcpy(&upper[i], texels, sizeof(uint16_t));
        std::memcpy(&lower[i], texels + plane.width, sizeof(uint16_t));
        looked->light[i] = plane.light;
    }
    for (size_t i = 0; i < kTileSize; ++i) {
        const auto right = static_cast<float>(u[i] & 0xff) * (1 / kFraction);
        const auto down = static_cast<float>(v[i] & 0xff) * (1 / kFraction);
        const auto upperLeft = static_cast<float>(upper[i] & 0xff);
        const auto upperRight = static_cast<float>(upper[i] >> 8);
        const auto lowerLeft = static_cast<float>(lower[i] & 0xff);
        const auto lowerRight = static_cast<float>(lower[i] >> 8);
        const float above = upperLeft + right * (upperRight - upperLeft);
        const float under = lowerLeft + right * (lowerRight - lowerLeft);
        const float grey = above + down * (under - above);
        looked->grey[i] = hits.inverse[i] > 0 ? grey : 0;
    }
    if (isColored) {
        for (size_t i = 0; i < kTileSize; ++i) {
            const Tint& tint = planes[hits.plane[i]].tint;
            looked->tint[0][i] = tint[0];
            looked->tint[1][i] = tint[1];
            looked->tint[2][i] = tint[2];
        }
    }
}

template <typename Rays>
KERNEL void drawEllipsoid(const View::Ellipsoid& ellipsoid, const Rays& rays, Hits* hits,
                          Looked* looked) {
    const auto& [first, second, third] = ellipsoid.toSphere;
    const Vector3& camera = ellipsoid.camera;
    const float outside = dot(camera, camera) - 1;
    for (size_t i = 0; i < kTileSize; ++i) {
        const Vector3 ray{rays.x[i], rays.y[i], rays.z[i]};
        const Vector3 across{dot(first, ray), dot(second, ray), dot(third, ray)};
        const float square = dot(across, across);
        const float half = dot(across, camera);
        const float discriminant = half * half - square * outside;
        const float distance = -half - std::sqrt(std::max(discriminant, 0.0F));
        // The distance is distance / square.
        if (discriminant <= 0 || distance <= 0 || square <= distance * hits->inverse[i]) {
            continue;
        }
        hits->inverse[i] = square / distance;
        const float reached = distance / square;
        const Vector3 normal{camera[0] + reached * across[0], camera[1] + reached * across[1],
                             camera[2] + reached * across[2]};
        const Vector3 inWorld{dot(ellipsoid.toWorld[0], normal), dot(ellipsoid.toWorld[1], normal),
                              dot(ellipsoid.toWorld[2], normal)};
        const float height = inWorld[2] / std::sqrt(dot(inWorld, inWorld));
        looked->grey[i] = 255 * ellipsoid.light;
        looked->light[i] = 0.7F + 0.3F * height;
        for (size_t channel = 0; channel < 3; ++channel) {
            looked->tint[channel][i] = ellipsoid.tint[static_cast<Eigen::Index>(channel)];
        }
    }
}

KERNEL void addLight(const Looked& looked, bool isColored, float weight, Tile* tile) {
    if (!isColored) {
        for (size_t i = 0; i < kTileSize; ++i) {
            tile->light[0][i] += weight * looked.light[i] * looked.grey[i];
        }
        return;
    }
    for (size_t channel = 0; channel < 3; ++channel) {
        for (size_t i = 0; i < kTileSize; ++i) {
            // Neither black nor white can have a colour.
            const float grey = looked.grey[i];
            const float strength = grey * (255 - grey) * (1.0F / 255);
            tile->light[channel][i] +=
                weight * looked.light[i] * (grey + looked.tint[channel][i] * strength);
        }
    }
}

KERNEL void addBlob(const View::Blob& blob, const Hits& hits, float weight, Tile* tile) {
    const float left = blob.u - static_cast<float>(tile->column * kTileWidth);
    const float top = blob.v - static_cast<float>(tile->row * kTileHeight);
    const float reach = 4 * blob.deviation;
    if (left < -reach || top < -reach || left > kTileWidth + reach || top > kTileHeight + reach) {
        return;
    }
    const float scale = -0.5F / (blob.deviation * blob.deviation);
    for (uint32_t i = 0; i < kTileSize; ++i) {
        const float u = static_cast<float>(i % kTileWidth) - left;
        const float v = static_cast<float>(i / kTileWidth) - top;
        const float square = u * u + v * v;
        if (square < reach * reach && hits.inverse[i] < blob.inverseDistance) {
            tile->ledLight[i] += weight * blob.light * std::exp(scale * square);
        }
    }
}

/// The wall that all four corners of the tile see, and so all in between; null if there is none.
template <typename Rays>
KERNEL const Plane* onlyWall(const View& view, const Rays& rays) {
    const Plane* common = nullptr;
    for (const size_t corner : {size_t{0}, size_t{kTileWidth - 1}, size_t{kTileSize - kTileWidth},
                                size_t{kTileSize - 1}}) {
        const Vector3 ray{rays.x[corner], rays.y[corner], rays.z[corner]};
        const Plane* nearest = nullptr;
        float inverse = 0;
        for (const Plane& wall : view.room) {
            const float candidate = dot(wall.c, ray);
            if (candidate > inverse) {
                inverse = candidate;
                nearest = &wall;
            }
        }
        if (nearest == nullptr || (common != nullptr && nearest != common)) {
            return nullptr;
        }
        common = nearest;
    }
    return common;
}

/// Unless the camera is in the plane, or behind the rectangle.
void addPlane(const Rectangle& rectangle, const Pose& cameraFromWorld, const Vector& camera,
              bool isEndless, std::vector<Plane>* planes) {
    const Vector away = rectangle.right.cross(rectangle.down).normalized();
    const double distance = away.dot(rectangle.corner - camera);
    if (distance < 1e-6) {
        return;
    }
    const Vector c = away / distance;
    const auto along = [&](const Vector& edge, double texel) -> Vector {
        const Vector texels = edge.normalized() * rectangle.texelsPerMetre;
        return texels + (texels.dot(camera - rectangle.corner) + texel) * c;
    };
    Plane plane{};
    const auto seen = [&](const Vector& vector) {
        return toArray(cameraFromWorld.orientation * vector);
    };
    plane.a = seen(along(rectangle.right, rectangle.texel.x()));
    plane.b = seen(along(rectangle.down, rectangle.texel.y()));
    plane.c = seen(c);
    constexpr float kNoEnd = 1e12F;
    const auto edge = [&](double texel, const Vector& along, size_t i) {
        plane.low[i] = isEndless ? -kNoEnd : static_cast<float>(texel);
        plane.high[i] = isEndless
                            ? kNoEnd
                            : static_cast<float>(texel + along.norm() * rectangle.texelsPerMetre);
    };
    edge(rectangle.texel.x(), rectangle.right, 0);
    edge(rectangle.texel.y(), rectangle.down, 1);
    plane.rectangle = &rectangle;
    planes->push_back(plane);
}

View::Ellipsoid ellipsoidOf(const Ellipsoid& ellipsoid, const Pose& camera) {
    const Pose fromCamera = ellipsoid.pose.inverse() * camera;
    const Eigen::Matrix3d toSphere =
        ellipsoid.radii.cwiseInverse().asDiagonal() * fromCamera.orientation.toRotationMatrix();
    const Eigen::Matrix3d toWorld =
        ellipsoid.pose.orientation.toRotationMatrix() * ellipsoid.radii.cwiseInverse().asDiagonal();
    View::Ellipsoid view{};
    for (size_t row = 0; row < 3; ++row) {
        const auto index = static_cast<Eigen::Index>(row);
        view.toSphere[row] = toArray(toSphere.row(index));
        view.toWorld[row] = toArray(toWorld.row(index));
    }
    view.camera = toArray(ellipsoid.radii.cwiseInverse().asDiagonal() * fromCamera.position);
    view.cone = coneAround(camera.inverse() * ellipsoid.pose.position, ellipsoid.radii.maxCoeff());
    view.light = ellipsoid.reflectance;
    view.tint = ellipsoid.tint;
    return view;
}

}  // namespace

Renderer::Renderer(const Lens& lens, uint32_t width, uint32_t height)
    : lens_(lens),
      columns_((width + kTileWidth - 1) / kTileWidth),
      rows_((height + kTileHeight - 1) / kTileHeight),
      rays_(size_t{columns_} * rows_),
      fields_(rays_.size()) {
    const auto rayOf = [&](double u, double v) { return lens_.unproject({u, v}); };
    for (size_t tile = 0; tile < rays_.size(); ++tile) {
        const auto left = static_cast<double>(tile % columns_ * kTileWidth);
        const auto top = static_cast<double>(tile / columns_ * kTileHeight);
        const double middleU = left + (kTileWidth - 1) / 2.0;
        const double middleV = top + (kTileHeight - 1) / 2.0;
        const Vector middle = rayOf(middleU, middleV);
        double cosine = 1;
        for (size_t i = 0; i < kTileSize; ++i) {
            const Vector ray = rayOf(left + static_cast<double>(i % kTileWidth),
                                     top + static_cast<double>(i / kTileWidth));
            const Vector3 narrow = toArray(ray);
            rays_[tile].x[i] = narrow[0];
            rays_[tile].y[i] = narrow[1];
            rays_[tile].z[i] = narrow[2];
            cosine = std::min(cosine, ray.dot(middle));
        }
        fields_[tile] = {{toArray(middle), static_cast<float>(cosine),
                          static_cast<float>(std::sqrt(1 - cosine * cosine))},
                         toArray(middle),
                         toArray(rayOf(middleU + 1, middleV)),
                         toArray(rayOf(middleU, middleV + 1))};
    }
}

Renderer::~Renderer() = default;

View Renderer::viewOf(const Scene& scene, const Pose& camera) const {
    const Pose fromWorld = camera.inverse();
    View view;
    for (const Rectangle& wall : scene.room.sides) {
        addPlane(wall, fromWorld, camera.position, true, &view.room);
    }
    for (const Solid& solid : scene.solids) {
        View::Solid seen{coneAround(fromWorld * solid.centre, solid.radius), {}};
        for (const Rectangle& side : solid.sides) {
            addPlane(side, fromWorld, camera.position, false, &seen.planes);
        }
        view.solids.push_back(std::move(seen));
    }
    for (const Ellipsoid& ellipsoid : scene.ellipsoids) {
        view.ellipsoids.push_back(ellipsoidOf(ellipsoid, camera));
    }
    for (const Led& led : scene.leds) {
        const Vector toCamera = camera.position - led.position;
        const double distance = toCamera.norm();
        const auto place = lens_.project(fromWorld * led.position);
        const double facing = toCamera.dot(led.normal) / distance;
        if (!place || facing <= 0) {
            continue;
        }
        // The image of a small disc, blurred by the lens; its light is spread with it.
        constexpr double kLensBlur = 0.7;  // in pixels
        const double radius = led.radius * lens_.intrinsics[0] / distance;
        const double variance = kLensBlur * kLensBlur + radius * radius / 4;
        const double spread = std::min(1.0, radius * radius / 2 / variance);
        view.blobs.push_back({static_cast<float>(place->x()), static_cast<float>(place->y()),
                              static_cast<float>(std::sqrt(variance)),
                              static_cast<float>(255 * led.light * facing * spread),
                              static_cast<float>(1 / (distance - 2 * led.radius - 0.005))});
    }
    return view;
}

// Twice as fast with the wider vectors that nearly all workstations have; the values are the same.
// Not under ThreadSanitizer, because the choice is made before its runtime is initialised.
#if defined(__x86_64__) && !__has_feature(thread_sanitizer)
__attribute__((target_clones("avx2", "default")))
#endif
void Renderer::drawTile(const View& view, size_t index, bool isColored, float weight,
                        Tile* tile) const {
    const Rays& rays = rays_[index];
    const Field& field = fields_[index];
    std::array<TilePlaneView, kMaxPlanes> planes;
    Hits hits;
    Looked looked;
    size_t count = 0;
    const auto add = [&](const Plane& plane) {
        if (count < kMaxPlanes) {
            planes[count++] =
                inLevel(plane, levelFor(plane, field.middle, field.right, field.below));
        }
    };
    const Plane* const wall = onlyWall(view, rays);
    if (wall != nullptr) {
        add(*wall);
        startWith(planes[0], rays, &hits);
    } else {
        hits = {};
        std::for_each(view.room.begin(), view.room.end(), add);
        for (size_t i = 0; i < count; ++i) {
            compareWith(planes[i], static_cast<int32_t>(i), rays, &hits);
        }
    }
    for (const View::Solid& solid : view.solids) {
        if (!canBeIn(field.cone, solid.cone)) {
            continue;
        }
        const size_t first = count;
        std::for_each(solid.planes.begin(), solid.planes.end(), add);
        for (size_t i = first; i < count; ++i) {
            compareWith(planes[i], static_cast<int32_t>(i), rays, &hits);
        }
    }
    if (count == 1) {
        lookUp<true>(planes.data(), hits, isColored, &looked);
    } else {
        lookUp<false>(planes.data(), hits, isColored, &looked);
    }
    for (const View::Ellipsoid& ellipsoid : view.ellipsoids) {
        if (canBeIn(field.cone, ellipsoid.cone)) {
            drawEllipsoid(ellipsoid, rays, &hits, &looked);
        }
    }
    addLight(looked, isColored, weight, tile);
    for (const View::Blob& blob : view.blobs) {
        addBlob(blob, hits, weight, tile);
    }
    for (size_t i = 0; i < kTileSize; ++i) {
        tile->depth[i] = rays.z[i] / hits.inverse[i];
    }
}

void Renderer::draw(uint32_t tileRow, const std::vector<View>& views, bool isColored,
                    const std::function<void(const Tile&)>& take) const {
    const float weight = 1.0F / static_cast<float>(views.size());
    for (uint32_t column = 0; column < columns_; ++column) {
        Tile tile;
        tile.column = column;
        tile.row = tileRow;
        for (const View& view : views) {
            drawTile(view, size_t{tileRow} * columns_ + column, isColored, weight, &tile);
        }
        take(tile);
    }
}

}  // namespace Simulator
