// How the headset and the wearer's hands move through the world: the one motion that all sensors
// and cameras see.
//
// The world's axes are x east, y north, z up, in metres from the middle of the room's floor. The
// axes of the headset are those of its IMU (sensor 0): x right, y forward, z up; a hand's are those
// of the controller in it, alike. World time is in ns and begins with 0 when the service starts.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "world/geometry.h"
#include "world/pose_spline.h"

namespace Simulator {

enum class Hand { kLeft, kRight };

/// Threading: constant, for any thread.
class Trajectory {
  public:
    /// Of somebody in a room of 6 x 5 m, who stands nearly still for two seconds, moves about all
    /// axes for six, then walks inside the inner 3 x 2.5 m and looks around; after five minutes
    /// all of it begins anew. Other seeds go other ways.
    explicit Trajectory(uint64_t seed);

    /// The headset goes through the poses of a file and stays in the last one; the first is at
    /// world time 0. Lines are as EuRoC's ground truth has them (time in ns, x, y, z, qw, qx, qy,
    /// qz, with commas; whatever follows is not read) or TUM's (time in s, x, y, z, qx, qy, qz, qw,
    /// with spaces): world from headset, in the axes above.
    ///
    /// Throws std::runtime_error, with file and line, if it cannot be read.
    Trajectory(const std::string& file, uint64_t seed);

    Motion at(int64_t worldTime) const { return head_.at(worldTime); }

    Motion handMotion(Hand hand, int64_t worldTime) const {
        return hands_[static_cast<size_t>(hand)].at(worldTime);
    }
    /// World from controller.
    Pose handPose(Hand hand, int64_t worldTime) const { return handMotion(hand, worldTime).pose; }

  private:
    Trajectory(PoseSpline head, PoseSpline::End end, uint64_t seed);

    PoseSpline head_;
    std::array<PoseSpline, 2> hands_;
};

}  // namespace Simulator
