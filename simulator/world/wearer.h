// The wearer's motion: walking through the room and looking around.
#pragma once

#include <cstdint>
#include <vector>

#include "world/trajectory.h"

namespace Simulator {

/// Interval between poses, in ns.
inline constexpr int64_t kWearerSpacing = 100'000'000;

/// Of the headset, for a path that repeats itself.
std::vector<Pose> headPoses(uint64_t seed);

/// One for each control of the head's path: of a controller in a hand that moves with the body, in
/// front of it. A body turns after the head, and less.
std::vector<Pose> handPoses(const PoseSpline& head, Hand hand, uint64_t seed);

}  // namespace Simulator
