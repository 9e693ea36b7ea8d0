// The simulated headset: all of its devices.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "camera/camera_settings.h"
#include "controller/controller_settings.h"
#include "device_group.h"
#include "environment/environment_settings.h"
#include "faults.h"
#include "replay/playback.h"
#include "world/world.h"
#include "world_clock.h"

namespace Simulator {

class Headset {
  public:
    /// Simulates a world.
    /// Throws std::runtime_error if a file of the settings cannot be written.
    Headset(const std::shared_ptr<Faults>& faults, const CameraSettings& cameras,
            const ControllerSettings& controllers, const EnvironmentSettings& environment,
            const std::shared_ptr<WorldClock>& clock, const std::shared_ptr<const World>& world);

    /// Plays a recording back. Throws Recording::Error.
    explicit Headset(const Playback& playback);

    /// As of DeviceGroup, for all groups.
    std::string registerServices();
    void stop();
    std::vector<std::string> summary() const;

  private:
    std::vector<std::unique_ptr<DeviceGroup>> groups_;
};

}  // namespace Simulator
