#include "world/world.h"

namespace Simulator {
namespace {

SensorSettings sensorsOf(const WorldSettings& settings) {
    const SensorSettings sensors =
        settings.sensors.empty() ? defaultSensors() : readSensors(settings.sensors);
    return settings.isIdeal ? withoutErrors(sensors) : sensors;
}

}  // namespace

World::World(const WorldSettings& settings)
    : seed(settings.seed),
      trajectory(settings.trajectory.empty() ? Trajectory{settings.seed}
                                             : Trajectory{settings.trajectory, settings.seed}),
      sensors(sensorsOf(settings)),
      groundTruth(settings.groundTruth.empty()
                      ? nullptr
                      : std::make_shared<GroundTruth>(settings.groundTruth)) {}

}  // namespace Simulator
