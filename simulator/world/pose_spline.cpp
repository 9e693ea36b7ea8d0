#include "world/pose_spline.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Simulator {

PoseSpline PoseSpline::through(const std::vector<Pose>& poses, int64_t spacing) {
    // Moving each control by what the path misses its pose by brings the error down by a third and
    // more each time.
    constexpr int kSteps = 40;
    PoseSpline spline{poses, spacing, End::kStay};
    // Where it stays is the last control, which therefore keeps its place behind the last pose.
    spline.controls_.push_back(poses.back());
    for (int step = 0; step < kSteps; ++step) {
        std::vector<Pose> next = spline.controls_;
        for (size_t i = 0; i < poses.size(); ++i) {
            const Pose reached = spline.at(static_cast<int64_t>(i) * spacing).pose;
            next[i].position += poses[i].position - reached.position;
            next[i].orientation *= reached.orientation.conjugate() * poses[i].orientation;
            next[i].orientation.normalize();
        }
        spline.controls_ = std::move(next);
    }
    return spline;
}

size_t PoseSpline::indexOf(int64_t number) const {
    const auto count = static_cast<int64_t>(controls_.size());
    if (end_ == End::kStay) {
        return static_cast<size_t>(std::clamp<int64_t>(number, 0, count - 1));
    }
    return static_cast<size_t>((number % count + count) % count);
}

Motion PoseSpline::at(int64_t time) const {
    int64_t segment = time / spacing_;
    int64_t rest = time % spacing_;
    if (rest < 0) {
        --segment;
        rest += spacing_;
    }
    const double period = static_cast<double>(spacing_) * 1e-9;
    const double u = static_cast<double>(rest) / static_cast<double>(spacing_);
    const std::array<double, 3> weights{(5 + u * (3 + u * (-3 + u))) / 6,
                                        (1 + u * (3 + u * (3 - 2 * u))) / 6, u * u * u / 6};
    const std::array<double, 3> rates{(1 + u * (-2 + u)) / 2 / period,
                                      (1 + u * (2 - 2 * u)) / 2 / period, u * u / 2 / period};
    const std::array<double, 3> accelerations{(u - 1) / period / period,
                                              (1 - 2 * u) / period / period, u / period / period};
    const Pose* from = &controls_[indexOf(segment - 1)];
    Motion motion;
    motion.pose = *from;
    for (size_t i = 0; i < weights.size(); ++i) {
        const Pose* to = &controls_[indexOf(segment + static_cast<int64_t>(i))];
        const Vector step = to->position - from->position;
        motion.pose.position += weights[i] * step;
        motion.velocity += rates[i] * step;
        motion.acceleration += accelerations[i] * step;

        const Vector turn = vectorOf(from->orientation.conjugate() * to->orientation);
        const Eigen::Quaterniond turned = turnBy(weights[i] * turn);
        motion.pose.orientation = motion.pose.orientation * turned;
        motion.angularRate = turned.conjugate() * motion.angularRate + rates[i] * turn;
        motion.angularAcceleration = turned.conjugate() * motion.angularAcceleration +
                                     rates[i] * motion.angularRate.cross(turn) +
                                     accelerations[i] * turn;
        from = to;
    }
    motion.pose.orientation.normalize();
    return motion;
}

}  // namespace Simulator
