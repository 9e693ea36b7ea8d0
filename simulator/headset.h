// The simulated headset: all of its devices.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "controller/controller_settings.h"
#include "device_group.h"
#include "environment/environment_settings.h"
#include "faults.h"
#include "world/world.h"
#include "world_clock.h"

namespace Simulator {

class Headset {
  public:
    Headset(const std::shared_ptr<Faults>& faults, const ControllerSettings& controllers,
            const EnvironmentSettings& environment, const std::shared_ptr<WorldClock>& clock,
            const std::shared_ptr<const World>& world);

    /// As of DeviceGroup, for all groups.
    std::string registerServices();
    void stop();
    std::vector<std::string> summary() const;

  private:
    std::vector<std::unique_ptr<DeviceGroup>> groups_;
};

}  // namespace Simulator
