// Recorded trajectories, read from files.
#pragma once

#include <string>

#include "world/pose_spline.h"

namespace Simulator {

/// Forms and failures are those of Trajectory.
PoseSpline readTrajectory(const std::string& file);

}  // namespace Simulator
