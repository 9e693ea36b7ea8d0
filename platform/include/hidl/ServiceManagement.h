// Registering services and finding them.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlBinderSupport.h>

#include <string>

namespace android::hidl::manager::V1_0 {
struct IServiceManager;
}

namespace android::hardware {

/** Null: services are found without a process that manages them, and nothing watches for them. */
sp<hidl::manager::V1_0::IServiceManager> defaultServiceManager();

namespace details {

/** Whether the object implements the interface; fails if its process does not answer. */
Return<bool> canCastInterface(hidl::base::V1_0::IBase* interface, const char* interfaceName,
                              bool emitError = false);

/**
 * Whether the environment variable MORIAK_HIDL_AS_ON_DEVICE is set and not "0". Then a process has
 * one HIDL thread unless it configures more, and `getService` waits for a service that is not
 * there, as a device does for each service that its manifest declares, with a line in the log each
 * second.
 */
bool isAsOnDevice();

/**
 * The registered service, as itself if it is of this process.
 * @param mayWait as on the device, waits for it
 * @return null, else at once, if there is none
 */
sp<hidl::base::V1_0::IBase> getRawService(const std::string& interfaceName,
                                          const std::string& instance, bool mayWait = false);

/**
 * Offers the service under `instance`, for each interface that it implements, for as
 * long as the process lives. A service registered before under the name is replaced.
 *
 * @return OK, BAD_VALUE for a name that cannot be a file's, or an error of the system
 */
status_t registerAsServiceInternal(const sp<hidl::base::V1_0::IBase>& service,
                                   const std::string& instance);

/** The object seen as another interface that it implements, else null. */
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
