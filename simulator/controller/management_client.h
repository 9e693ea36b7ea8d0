// The HAL object through which clients find, pair and update controllers.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IControllerManagementClient.h>

#include <memory>

#include "controller/controller_fleet.h"
#include "faults.h"
#include "hal.h"

namespace Simulator {

/// Keeps nothing of its clients, so that they all share it and there is nothing to be released.
class ManagementClient : public Hal::IControllerManagementClient {
  public:
    ManagementClient(std::shared_ptr<ControllerFleet> fleet, std::shared_ptr<const Faults> faults);

    android::hardware::Return<void> release() override { return android::hardware::Void(); }
    android::hardware::Return<void> getAdvertisingControllers(
        getAdvertisingControllers_cb callback) override;
    android::hardware::Return<Hal::Result> enterDMM(const Hal::ControllerAddr& controller) override;
    android::hardware::Return<Hal::Result> exitDMM(const Hal::ControllerAddr& controller) override;
    android::hardware::Return<Hal::Result> pairController(
        const Hal::ControllerAddr& controller) override;
    android::hardware::Return<Hal::Result> unpairController(
        const Hal::ControllerAddr& controller) override;
    android::hardware::Return<Hal::Result> updateFirmware(
        const Hal::ControllerAddr& controller, Hal::ControllerType type,
        const FWUpdateCallbackConfig& config) override;

  private:
    /// The answer of `action`, or of the fault that the method has.
    template <typename Action>
    Hal::Result command(const char* method, const Hal::ControllerAddr& controller,
                        const Action& action);

    const std::shared_ptr<ControllerFleet> fleet_;
    const std::shared_ptr<const Faults> faults_;
};

}  // namespace Simulator
