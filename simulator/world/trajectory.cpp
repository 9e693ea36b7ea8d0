#include "world/trajectory.h"

#include <utility>

#include "world/trajectory_file.h"
#include "world/wearer.h"

namespace Simulator {

Trajectory::Trajectory(uint64_t seed)
    : Trajectory({headPoses(seed), kWearerSpacing, PoseSpline::End::kRepeat},
                 PoseSpline::End::kRepeat, seed) {}

Trajectory::Trajectory(const std::string& file, uint64_t seed)
    : Trajectory(readTrajectory(file), PoseSpline::End::kStay, seed) {}

Trajectory::Trajectory(PoseSpline head, PoseSpline::End end, uint64_t seed)
    : head_(std::move(head)),
      hands_{PoseSpline{handPoses(head_, Hand::kLeft, seed), head_.spacing(), end},
             PoseSpline{handPoses(head_, Hand::kRight, seed), head_.spacing(), end}} {}

}  // namespace Simulator
