#include "world/lens.h"

#include <Eigen/Dense>
#include <cmath>
#include <utility>

namespace Simulator {
namespace {

using Eigen::Matrix2d;
using Eigen::Vector2d;
using Eigen::Vector3d;

/// A distorted point of the plane z = 1, and how it changes with the undistorted one.
struct Distorted {
    Vector2d point;
    Matrix2d slope;
};

Distorted radialTangential(const std::array<double, 4>& distortion, const Vector2d& point) {
    const auto [k1, k2, p1, p2] = distortion;
    const double x = point.x();
    const double y = point.y();
    const double r2 = point.squaredNorm();
    const double radial = 1 + r2 * (k1 + r2 * k2);
    const double radialSlope = 2 * k1 + 4 * k2 * r2;  // to be taken times x or y
    Distorted result;
    result.point = {x * radial + 2 * p1 * x * y + p2 * (r2 + 2 * x * x),
                    y * radial + p1 * (r2 + 2 * y * y) + 2 * p2 * x * y};
    const double mixed = radialSlope * x * y + 2 * p1 * x + 2 * p2 * y;
    result.slope << radial + radialSlope * x * x + 2 * p1 * y + 6 * p2 * x, mixed, mixed,
        radial + radialSlope * y * y + 6 * p1 * y + 2 * p2 * x;
    return result;
}

/// The distance in the image of an angle from the axis, in focal lengths, and its slope.
std::pair<double, double> equidistant(const std::array<double, 4>& distortion, double angle) {
    const double a2 = angle * angle;
    double value = 1;
    double slope = 1;
    double power = 1;
    for (size_t i = 0; i < distortion.size(); ++i) {
        power *= a2;
        value += distortion[i] * power;
        slope += (2 * static_cast<double>(i) + 3) * distortion[i] * power;
    }
    return {angle * value, slope};
}

constexpr int kMaxSteps = 30;
constexpr double kCloseEnough = 1e-13;  // in focal lengths

}  // namespace

std::optional<Vector2d> Lens::project(const Vector3d& point) const {
    const auto [fu, fv, cu, cv] = intrinsics;
    Vector2d image;
    if (model == Model::EQUIDISTANT) {
        const double beside = point.head<2>().norm();
        const double angle = std::atan2(beside, point.z());
        const auto [distance, slope] = equidistant(distortion, angle);
        if (slope <= 0) {
            return std::nullopt;
        }
        image = beside > 0 ? Vector2d(point.head<2>() / beside * distance) : Vector2d::Zero();
    } else {
        if (point.z() <= 0) {
            return std::nullopt;
        }
        const Distorted distorted =
            radialTangential(distortion, Vector2d(point.head<2>() / point.z()));
        if (distorted.slope.determinant() <= 0 || distorted.slope.trace() <= 0) {
            return std::nullopt;
        }
        image = distorted.point;
    }
    return Vector2d{fu * image.x() + cu, fv * image.y() + cv};
}

Vector3d Lens::unproject(const Vector2d& pixel) const {
    const auto [fu, fv, cu, cv] = intrinsics;
    const Vector2d image{(pixel.x() - cu) / fu, (pixel.y() - cv) / fv};
    if (model == Model::EQUIDISTANT) {
        const double distance = image.norm();
        double angle = distance;
        for (int step = 0; step < kMaxSteps; ++step) {
            const auto [reached, slope] = equidistant(distortion, angle);
            const double change = (distance - reached) / slope;
            angle += change;
            if (std::abs(change) < kCloseEnough) {
                break;
            }
        }
        const double scale = distance > 0 ? std::sin(angle) / distance : 1;
        return {image.x() * scale, image.y() * scale, std::cos(angle)};
    }
    Vector2d point = image;
    for (int step = 0; step < kMaxSteps; ++step) {
        const Distorted distorted = radialTangential(distortion, point);
        const Vector2d change = distorted.slope.inverse() * (image - distorted.point);
        point += change;
        if (change.norm() < kCloseEnough) {
            break;
        }
    }
    return point.homogeneous().normalized();
}

Lens Lens::binned(unsigned halvings) const {
    const double scale = 1.0 / (1U << halvings);
    Lens lens = *this;
    lens.intrinsics[0] *= scale;
    lens.intrinsics[1] *= scale;
    for (const size_t centre : {size_t{2}, size_t{3}}) {
        lens.intrinsics[centre] = (intrinsics[centre] + 0.5) * scale - 0.5;
    }
    return lens;
}

}  // namespace Simulator
