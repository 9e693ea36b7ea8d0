// One HAL call for each method.
#include "controller/controller_management_client.h"

#include <utility>
#include <vector>

#include "controller/convert.h"
#include "foundation/hal_call.h"

namespace Vek::Sensors::HidlWrapper {
namespace {

using Convert::intoHidl;

/// The service's result, unchanged. A command that could not be delivered counts as BAD_STATE, not
/// as FAILURE: clients distinguish the two.
ControllerResult resultOf(android::hardware::Return<Hidl::Result> hidlReturn) {
    return static_cast<ControllerResult>(hidlReturn.withDefault(Hidl::Result::BAD_STATE));
}

}  // namespace

ControllerManagementClient::ControllerManagementClient(
    gsl::not_null<android::sp<Hidl::IControllerManagementClient>> hal)
    : hal_(std::move(hal)), deathRecipient_(std::make_unique<HalDeathRecipient>(hal_.get())) {}

ControllerManagementClient::~ControllerManagementClient() {
    const android::sp<Hidl::IControllerManagementClient> hal = hal_.get();
    checkTransport(hal->release(), __PRETTY_FUNCTION__);
}

std::vector<AdvertisingControllerInfo> ControllerManagementClient::getAdvertisingControllers() {
    std::vector<AdvertisingControllerInfo> controllers;
    const android::sp<Hidl::IControllerManagementClient> hal = hal_.get();
    const android::hardware::Return<void> hidlReturn = hal->getAdvertisingControllers(
        [&controllers](const android::hardware::hidl_vec<Hidl::AdvertisingControllerInfo>& answer) {
            controllers.reserve(answer.size());
            for (const Hidl::AdvertisingControllerInfo& info : answer) {
                controllers.push_back(Convert::fromHidl(info));
            }
        });
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return controllers;
}

ControllerResult ControllerManagementClient::enterDMM(ControllerAddr controller) {
    const android::sp<Hidl::IControllerManagementClient> hal = hal_.get();
    return resultOf(hal->enterDMM(intoHidl(controller)));
}

ControllerResult ControllerManagementClient::exitDMM(ControllerAddr controller) {
    const android::sp<Hidl::IControllerManagementClient> hal = hal_.get();
    return resultOf(hal->exitDMM(intoHidl(controller)));
}

ControllerResult ControllerManagementClient::pairController(ControllerAddr controller) {
    const android::sp<Hidl::IControllerManagementClient> hal = hal_.get();
    return resultOf(hal->pairController(intoHidl(controller)));
}

ControllerResult ControllerManagementClient::unpairController(ControllerAddr controller) {
    const android::sp<Hidl::IControllerManagementClient> hal = hal_.get();
    return resultOf(hal->unpairController(intoHidl(controller)));
}

ControllerResult ControllerManagementClient::updateFirmware(ControllerAddr controller,
                                                            ControllerType type,
                                                            FWUpdateCallbackConfig config) {
    const android::sp<Hidl::IControllerManagementClient> hal = hal_.get();
    return resultOf(hal->updateFirmware(intoHidl(controller),
                                        static_cast<Hidl::ControllerType>(type), intoHidl(config)));
}

}  // namespace Vek::Sensors::HidlWrapper
