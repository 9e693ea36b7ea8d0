// See management_client.h.
#include "controller/management_client.h"

#include <hwbinder/IPCThreadState.h>
#include <log/log.h>

#include <utility>

#include "controller/firmware_update.h"

namespace Simulator {

using android::hardware::Return;
using Hal::ControllerAddr;
using Hal::Result;

ManagementClient::ManagementClient(std::shared_ptr<ControllerFleet> fleet,
                                   std::shared_ptr<const Faults> faults)
    : fleet_(std::move(fleet)), faults_(std::move(faults)) {}

template <typename Action>
Result ManagementClient::command(const char* method, const ControllerAddr& controller,
                                 const Action& action) {
    const Result fault = faults_->resultOf(descriptor, method);
    const Result result = fault == Result::SUCCESS ? action() : fault;
    if (result != Result::SUCCESS) {
        ALOGW("controller %llx: %s of process %d answered %s",
              static_cast<unsigned long long>(controller.address), method,
              android::hardware::IPCThreadState::self()->getCallingPid(), toString(result).c_str());
    }
    return result;
}

Return<void> ManagementClient::getAdvertisingControllers(getAdvertisingControllers_cb callback) {
    const bool isFault =
        faults_->resultOf(descriptor, "getAdvertisingControllers") != Result::SUCCESS;
    callback(isFault ? std::vector<Hal::AdvertisingControllerInfo>{} : fleet_->advertising());
    return android::hardware::Void();
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
                                                Hal::ControllerType type,
                                                const FWUpdateCallbackConfig& config) {
    return command("updateFirmware", controller,
                   [&] { return beginFirmwareUpdate(fleet_, controller, type, config); });
}

}  // namespace Simulator
