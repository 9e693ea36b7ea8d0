// The HAL object through which clients find, pair and update controllers.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IControllerManagementClient.h>

#include <memory>
#include <utility>

#include "controller/controller_fleet.h"
#include "service.h"

namespace Simulator {

/// Keeps nothing of its clients, so that they all share it and there is nothing to be released.
class ManagementClient : public Service<Hal::IControllerManagementClient> {
  public:
    explicit ManagementClient(std::shared_ptr<ControllerFleet> fleet) : fleet_(std::move(fleet)) {}

    Return<void> release() override { return Void(); }
    Return<void> getAdvertisingControllers(getAdvertisingControllers_cb callback) override;
    Return<Hal::Result> enterDMM(const Hal::ControllerAddr& controller) override;
    Return<Hal::Result> exitDMM(const Hal::ControllerAddr& controller) override;
    Return<Hal::Result> pairController(const Hal::ControllerAddr& controller) override;
    Return<Hal::Result> unpairController(const Hal::ControllerAddr& controller) override;
    Return<Hal::Result> updateFirmware(const Hal::ControllerAddr& controller,
                                       Hal::ControllerType type,
                                       const FWUpdateCallbackConfig& config) override;

  private:
    /// The answer of `action`, with a log line for what fails.
    template <typename Action>
    Hal::Result command(const char* method, const Hal::ControllerAddr& controller,
                        const Action& action);

    const std::shared_ptr<ControllerFleet> fleet_;
};

}  // namespace Simulator
