// The HAL object through which clients find, pair and update controllers.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IControllerManagementClient.h>

#include <memory>
#include <utility>

#include "controller/controller_fleet.h"
#include "service.h"

namespace Simulator {

/// Has no state of its clients, so all clients share one object and release() does nothing.
class ManagementClient : public Service<Hidl::IControllerManagementClient> {
  public:
    explicit ManagementClient(std::shared_ptr<ControllerFleet> fleet) : fleet_(std::move(fleet)) {}

    Return<void> release() override { return Void(); }
    Return<void> getAdvertisingControllers(getAdvertisingControllers_cb callback) override;
    Return<Hidl::Result> enterDMM(const Hidl::ControllerAddr& controller) override;
    Return<Hidl::Result> exitDMM(const Hidl::ControllerAddr& controller) override;
    Return<Hidl::Result> pairController(const Hidl::ControllerAddr& controller) override;
    Return<Hidl::Result> unpairController(const Hidl::ControllerAddr& controller) override;
    Return<Hidl::Result> updateFirmware(const Hidl::ControllerAddr& controller,
                                        Hidl::ControllerType type,
                                        const FWUpdateCallbackConfig& config) override;

  private:
    /// Returns the result of `action`; logs a failure.
    template <typename Action>
    Hidl::Result command(const char* method, const Hidl::ControllerAddr& controller,
                         const Action& action);

    const std::shared_ptr<ControllerFleet> fleet_;
};

}  // namespace Simulator
