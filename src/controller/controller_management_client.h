// Finding, pairing and updating controllers, over the service's client object.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/controller.h>
#include <vendor/zelvan/hardware/sensors/1.0/IControllerManagementClient.h>

#include <memory>
#include <vector>

#include "foundation/hal.h"
#include "foundation/hal_death_recipient.h"

namespace Vek::Sensors::HidlWrapper {

/// Releases the service's object when it is destroyed.
class ControllerManagementClient : public IControllerManagementClient {
  public:
    explicit ControllerManagementClient(
        gsl::not_null<android::sp<Hidl::IControllerManagementClient>> hal);
    ~ControllerManagementClient() override;

    ControllerManagementClient(const ControllerManagementClient&) = delete;
    ControllerManagementClient& operator=(const ControllerManagementClient&) = delete;

    std::vector<AdvertisingControllerInfo> getAdvertisingControllers() override;
    ControllerResult enterDMM(ControllerAddr controller) override;
    ControllerResult exitDMM(ControllerAddr controller) override;
    ControllerResult pairController(ControllerAddr controller) override;
    ControllerResult unpairController(ControllerAddr controller) override;
    ControllerResult updateFirmware(ControllerAddr controller, ControllerType type,
                                    FWUpdateCallbackConfig config) override;

  private:
    gsl::not_null<android::sp<Hidl::IControllerManagementClient>> hal_;
    std::unique_ptr<HalDeathRecipient> deathRecipient_;
};

}  // namespace Vek::Sensors::HidlWrapper
