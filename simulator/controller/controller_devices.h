// The simulated hand controllers and the services that offer them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "controller/controller_fleet.h"
#include "controller/pose_receiver.h"
#include "device_group.h"
#include "faults.h"

namespace Simulator {

class ControllerDevices : public DeviceGroup {
  public:
    ControllerDevices(const ControllerSettings& settings, const std::shared_ptr<Faults>& faults,
                      const std::shared_ptr<WorldClock>& clock,
                      const std::shared_ptr<const World>& world);

    std::string registerServices() override;
    void stop() override;
    std::vector<std::string> summary() const override;

    const std::shared_ptr<ControllerFleet>& fleet() const { return fleet_; }

  private:
    const std::shared_ptr<Faults> faults_;
    const std::shared_ptr<ControllerFleet> fleet_;
    const android::sp<PoseReceiver> poses_;
};

}  // namespace Simulator
