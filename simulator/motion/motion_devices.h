// The simulated motion sensors, their numbers, and the services that offer them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "device_group.h"
#include "faults.h"
#include "motion/sensor_services.h"
#include "world/world.h"
#include "world_clock.h"

namespace Simulator {

class MotionDevices : public DeviceGroup {
  public:
    MotionDevices(const std::shared_ptr<Faults>& faults, const std::shared_ptr<WorldClock>& clock,
                  const std::shared_ptr<const World>& world);

    std::string registerServices() override;
    void stop() override;
    std::vector<std::string> summary() const override;

  private:
    const std::shared_ptr<Faults> faults_;
    const std::shared_ptr<const World> world_;
    // By their sensor numbers, which count on from the IMUs to the magnetometer.
    const std::vector<android::sp<ImuService>> imus_;
    const android::sp<MagService> mag_;
    const android::sp<IadService> iad_;
};

}  // namespace Simulator
