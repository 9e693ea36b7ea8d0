#define LOG_TAG "HidlServiceManagement"

#include <hidl/ServiceManagement.h>

#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <log/log.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "transport/Endpoint.h"
#include "transport/Registry.h"

namespace android::hardware {

using details::Registry;
using hidl::base::V1_0::BpHwBase;
using hidl::base::V1_0::IBase;
using hidl::manager::V1_0::IServiceManager;

namespace {

std::string serviceName(const std::string& interfaceName, const std::string& instance) {
    return interfaceName + "/" + instance;
}

}  // namespace

sp<IServiceManager> defaultServiceManager() {
    return nullptr;
}

Return<bool> details::canCastInterface(IBase* interface, const char* interfaceName,
                                       bool emitError) {
    bool isCastable = false;
    const Return<void> asked = interface->interfaceChain([&](const auto& chain) {
        isCastable = std::any_of(chain.begin(), chain.end(),
                                 [&](const hidl_string& name) { return name == interfaceName; });
    });
    if (asked.isOk()) return isCastable;
    if (emitError) ALOGE("cannot ask for %s: %s", interfaceName, asked.description().c_str());
    return details::StatusOf<void, bool>(asked);
}

bool details::isAsOnDevice() {
    static const bool isSet = [] {
        const char* const value = secure_getenv("MORIAK_HIDL_AS_ON_DEVICE");
        return value != nullptr && *value != '\0' && std::strcmp(value, "0") != 0;
    }();
    return isSet;
}

namespace {

sp<IBase> lookUp(const std::string& interfaceName, const std::string& instance) {
    using namespace details;
    const std::string name = serviceName(interfaceName, instance);
    // Tries twice: the connection may lead to a process that has just died and has been replaced by
    // a new one.
    for (int attempt = 0; attempt < 2; ++attempt) {
        const std::optional<Registry> registry = Registry::open(Registry::Mode::kLookUp);
        if (!registry) return nullptr;
        const std::optional<std::string> socketName = registry->find(interfaceName, instance);
        if (!socketName) return nullptr;
        Endpoint& endpoint = Endpoint::self();
        if (*socketName == endpoint.socketName()) return endpoint.services().get(name);

        sp<IBinder> service;
        const status_t status = endpoint.ask(*registry, *socketName, name, &service);
        if (status == DEAD_OBJECT) continue;
        if (status == TIMED_OUT) {
            ALOGE("%s does not say whether it has the service %s", socketName->c_str(),
                  name.c_str());
        }
        if (status != OK || service == nullptr) return nullptr;
        return fromBinder<IBase, BpHwBase, hidl::base::V1_0::BnHwBase>(service);
    }
    return nullptr;
}

}  // namespace

sp<IBase> details::getRawService(const std::string& interfaceName, const std::string& instance,
                                 bool mayWait) {
    if (!Registry::isValidInstance(instance)) return nullptr;
    if (!mayWait || !isAsOnDevice()) return lookUp(interfaceName, instance);
    using Clock = std::chrono::steady_clock;
    Clock::time_point nextLine = Clock::now() + std::chrono::seconds(1);
    while (true) {
        if (sp<IBase> service = lookUp(interfaceName, instance)) return service;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        if (Clock::now() < nextLine) continue;
        ALOGW("Waited one second for %s/%s. Waiting another...", interfaceName.c_str(),
              instance.c_str());
        nextLine += std::chrono::seconds(1);
    }
}

status_t details::registerAsServiceInternal(const sp<IBase>& service, const std::string& instance) {
    if (service == nullptr) return UNEXPECTED_NULL;
    if (!Registry::isValidInstance(instance)) {
        ALOGE("'%.100s' cannot be the name of a service", instance.c_str());
        return BAD_VALUE;
    }
    std::vector<std::string> interfaces;
    const Return<void> asked = service->interfaceChain([&](const auto& chain) {
        for (const hidl_string& name : chain) interfaces.push_back(name);
    });
    if (!asked.isOk() || interfaces.empty()) return UNKNOWN_ERROR;

    Endpoint& endpoint = Endpoint::self();
    const status_t listening = endpoint.listen();
    if (listening != OK) return listening;
    std::optional<Registry> registry = Registry::open(Registry::Mode::kCreate);
    if (!registry) return PERMISSION_DENIED;
    for (const std::string& interface : interfaces) {
        if (interface == IBase::descriptor) continue;
        endpoint.services().set(serviceName(interface, instance), service);
        const int error = registry->publish(interface, instance, endpoint.socketName());
        if (error != 0) return error;
    }
    return OK;
}

}  // namespace android::hardware
