#include "controller/management_client.h"

#include <log/log.h>

#include "controller/firmware_update.h"

namespace Simulator {

using Hidl::ControllerAddr;
using Hidl::Result;

template <typename Action>
Result ManagementClient::command(const char* method, const ControllerAddr& controller,
                                 const Action& action) {
    const Result result = action();
    if (result != Result::SUCCESS) {
        ALOGW("controller %llx: %s of process %d answered %s",
              static_cast<unsigned long long>(controller.address), method, callingProcess(),
              toString(result).c_str());
    }
    return result;
}

Return<void> ManagementClient::getAdvertisingControllers(getAdvertisingControllers_cb callback) {
    callback(fleet_->advertising());
    return Void();
}

Return<Result> ManagementClient::enterDMM(const ControllerAddr& controller) {
    return command("enterDMM", controller, [&] {
        return fleet_->with(controller, Result::FAILURE,
                            [](ControllerDevice& device) { return device.enterDmm(); });
    });
}

Return<Result> ManagementClient::exitDMM(const ControllerAddr& controller) {
    return command("exitDMM", controller, [&] {
        return fleet_->with(controller, Result::FAILURE,
                            [](ControllerDevice& device) { return device.exitDmm(); });
    });
}

Return<Result> ManagementClient::pairController(const ControllerAddr& controller) {
    return command("pairController", controller, [&] { return fleet_->pair(controller); });
}

Return<Result> ManagementClient::unpairController(const ControllerAddr& controller) {
    return command("unpairController", controller, [&] { return fleet_->unpair(controller); });
}

Return<Result> ManagementClient::updateFirmware(const ControllerAddr& controller,
                                                Hidl::ControllerType type,
                                                const FWUpdateCallbackConfig& config) {
    return command("updateFirmware", controller,
                   [&] { return beginFirmwareUpdate(fleet_, controller, type, config); });
}

}  // namespace Simulator
