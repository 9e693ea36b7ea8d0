// Registering services and finding them.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlBinderSupport.h>

#include <string>

namespace android::hidl::manager::V1_0 {
struct IServiceManager;
}

namespace android::hardware {

/**
 * Always null: the host layer has no service manager, so programs cannot watch for registrations.
 */
sp<hidl::manager::V1_0::IServiceManager> defaultServiceManager();

namespace details {

/** Whether the object implements the interface; fails if its process does not answer. */
Return<bool> canCastInterface(hidl::base::V1_0::IBase* interface, const char* interfaceName,
                              bool emitError = false);

/**
 * Whether the environment variable MORIAK_HIDL_AS_ON_DEVICE is set and not "0". Then a process has
 * one HIDL thread unless it configures more, and `getService` waits for a service that does not run
 * yet, with a log line each second, as a device does for each service of its manifest.
 */
bool isAsOnDevice();

/**
 * Looks up a registered service. A service of this process is returned itself, not as a proxy.
 * @param mayWait whether to wait for the service if isAsOnDevice()
 * @return null if no such service runs
 */
sp<hidl::base::V1_0::IBase> getRawService(const std::string& interfaceName,
                                          const std::string& instance, bool mayWait = false);

/**
 * Registers the service as `instance` of each interface that it implements, until the process ends.
 * It replaces a service that was registered under that name before.
 *
 * @return OK, BAD_VALUE for a name that is not a valid file name, or an error of the system
 */
status_t registerAsServiceInternal(const sp<hidl::base::V1_0::IBase>& service,
                                   const std::string& instance);

/** Casts the object to another interface; null if it does not implement that. */
template <typename IChild, typename IParent, typename BpChild>
Return<sp<IChild>> castInterface(const sp<IParent>& parent, const char* childName, bool emitError) {
    if (parent == nullptr) return sp<IChild>(nullptr);
    Return<bool> castable = canCastInterface(parent.get(), childName, emitError);
    if (!castable.isOk()) return details::StatusOf<bool, sp<IChild>>(castable);
    if (!castable) return sp<IChild>(nullptr);
    if (parent->isRemote()) return sp<IChild>(new BpChild(toBinder(parent)));
    return sp<IChild>(dynamic_cast<IChild*>(parent.get()));
}

/**
 * There are no passthrough services here: `getStub` finds nothing.
 * @param retry whether this is a getService, not a tryGetService
 */
template <typename BpType, typename IType = typename BpType::Pure>
sp<IType> getServiceInternal(const std::string& instance, bool retry, bool getStub) {
    if (getStub) return nullptr;
    const sp<hidl::base::V1_0::IBase> base = getRawService(IType::descriptor, instance, retry);
    if (base == nullptr) return nullptr;
    if (base->isRemote()) return new BpType(toBinder(base));
    return dynamic_cast<IType*>(base.get());
}

}  // namespace details
}  // namespace android::hardware
