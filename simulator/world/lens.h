// How a camera's lens maps directions to pixels.
#pragma once

#include <array>
#include <optional>

#include <Eigen/Core>

namespace Simulator {

/// The camera's axes: x right and y down in the image, z forward. Pixel coordinates are those of
/// calibration tools: the centre of the upper left pixel is (0, 0).
///
/// Threading: constant, for any thread.
struct Lens {
    enum class Model {
        /// A pinhole; distortion k1, k2 (radial) and p1, p2 (tangential).
        RADIAL_TANGENTIAL,
        /// A fisheye whose angles from the axis are its distances in the image; distortion k1 to
        /// k4 of the angle's powers 3, 5, 7 and 9.
        EQUIDISTANT,
    };

    Model model = Model::RADIAL_TANGENTIAL;
    /// Focal lengths u and v, principal point u and v, in pixels.
    std::array<double, 4> intrinsics{};
    std::array<double, 4> distortion{};

    /// Where a point is seen, whether or not the image reaches that far.
    /// @param point along the camera's axes, not at its origin
    /// @return empty outside of the model's range: behind a pinhole, or where the distortion would
    /// fold the image
    std::optional<Eigen::Vector2d> project(const Eigen::Vector3d& point) const;

    /// The direction that a pixel sees, of length 1.
    Eigen::Vector3d unproject(const Eigen::Vector2d& pixel) const;

    /// The lens for binned images of the same sensor, whose pixels are the mean of 2^halvings by
    /// 2^halvings.
    Lens binned(unsigned halvings) const;
};

}  // namespace Simulator
