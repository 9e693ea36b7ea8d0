// Recorded trajectories, read from files.
#pragma once

#include <string>

#include "world/pose_spline.h"

namespace Simulator {

/// File formats and exceptions: see the constructor of Trajectory.
PoseSpline readTrajectory(const std::string& file);

}  // namespace Simulator
