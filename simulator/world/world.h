// The world that all simulated devices are in.
#pragma once

#include <cstdint>
#include <memory>

#include "world/ground_truth.h"
#include "world/sensor_settings.h"
#include "world/trajectory.h"
#include "world/world_settings.h"

namespace Simulator {

/// Threading: constant, for any thread.
struct World {
    /// Throws std::runtime_error if a file of the settings cannot be used.
    explicit World(const WorldSettings& settings);

    /// Devices and their errors depend only on the seed, their names and time.
    uint64_t seed;
    Trajectory trajectory;
    SensorSettings sensors;
    /// Null if no ground truth is written.
    std::shared_ptr<GroundTruth> groundTruth;
};

}  // namespace Simulator
