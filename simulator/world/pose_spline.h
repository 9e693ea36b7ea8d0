// A smooth path of a rigid body.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "world/geometry.h"

namespace Simulator {

/// A uniform cubic B-spline of position, and the cumulative one of orientation (Sommer et al.,
/// "Efficient derivative computation for cumulative B-splines on Lie groups", 2020): velocity and
/// acceleration of both are exact derivatives and continuous.
///
/// Threading: constant, for any thread.
class PoseSpline {
  public:
    enum class End {
        kStay,    ///< in the last pose for ever, as in the first before the beginning
        kRepeat,  ///< begins anew one spacing after the last pose
    };

    /// @param controls at least one; the path follows them closely, it need not go through them
    /// @param spacing from each to the next, in ns, above 0
    PoseSpline(std::vector<Pose> controls, int64_t spacing, End end)
        : controls_(std::move(controls)), spacing_(spacing), end_(end) {}

    /// The path that goes through the poses and stays in the last one.
    static PoseSpline through(const std::vector<Pose>& poses, int64_t spacing);

    /// @param time in ns since the first control
    Motion at(int64_t time) const;

    const std::vector<Pose>& controls() const { return controls_; }
    int64_t spacing() const { return spacing_; }
    /// The place of a control in the list, for any number counted from the first.
    size_t indexOf(int64_t number) const;

  private:
    std::vector<Pose> controls_;
    int64_t spacing_;
    End end_;
};

}  // namespace Simulator
