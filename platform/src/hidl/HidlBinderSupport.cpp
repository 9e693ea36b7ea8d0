#define LOG_TAG "HidlSupport"

#include <hidl/HidlBinderSupport.h>

#include <android/hidl/base/1.0/BnHwBase.h>
#include <log/log.h>

#include <cstdint>
#include <string>

#include "transport/PeerLog.h"

namespace android::hardware {

using hidl::base::V1_0::BnHwBase;
using hidl::base::V1_0::IBase;

status_t readEmbeddedFromParcel(const hidl_string& string, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset) {
    details::ReceivedValue::clearOwnership(string);
    const size_t size = string.size();
    const void* text = nullptr;
    size_t handle = 0;
    const status_t status = parcel.readNullableEmbeddedBuffer(
        size + 1, &handle, parentHandle, parentOffset + hidl_string::kOffsetOfBuffer, &text);
    if (status != OK) return status;
    return static_cast<const char*>(text)[size] == '\0' ? OK : parcel.reject();
}

status_t writeEmbeddedToParcel(const hidl_string& string, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset) {
    size_t handle = 0;
    return parcel->writeEmbeddedBuffer(string.c_str(), string.size() + 1, &handle, parentHandle,
                                       parentOffset + hidl_string::kOffsetOfBuffer);
}

status_t readEmbeddedFromParcel(const hidl_handle& handle, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset) {
    details::ReceivedValue::clearOwnership(handle);
    const native_handle_t* nativeHandle = nullptr;
    return parcel.readNullableEmbeddedNativeHandle(
        parentHandle, parentOffset + hidl_handle::kOffsetOfNativeHandle, &nativeHandle);
}

status_t writeEmbeddedToParcel(const hidl_handle& handle, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset) {
    return parcel->writeEmbeddedNativeHandle(handle.getNativeHandle(), parentHandle,
                                             parentOffset + hidl_handle::kOffsetOfNativeHandle);
}

status_t readFromParcel(Status* status, const Parcel& parcel) {
    int32_t exception = 0;
    status_t error = parcel.readInt32(&exception);
    if (error != OK) return error;
    if (exception == Status::EX_NONE) {
        *status = Status::ok();
        return OK;
    }
    const char* message = parcel.readCString();
    if (message == nullptr) return BAD_VALUE;
    // Programs log the message, so control characters are replaced.
    *status = Status::fromExceptionCode(exception, details::printable(message).c_str());
    return OK;
}

status_t writeToParcel(const Status& status, Parcel* parcel) {
    // A transport error is the status of the call, not part of the reply.
    if (status.exceptionCode() == Status::EX_TRANSACTION_FAILED) return status.transactionError();
    const status_t error = parcel->writeInt32(status.exceptionCode());
    if (error != OK || status.isOk()) return error;
    return parcel->writeCString(status.exceptionMessage());
}

sp<IBinder> getOrCreateCachedBinder(IBase* interface) {
    if (interface == nullptr) return nullptr;
    if (interface->isRemote()) return IInterface::asBinder(dynamic_cast<IInterface*>(interface));

    return details::gBnMap->getOrCreate(interface, [interface]() -> sp<IBinder> {
        std::string name;
        const Return<void> asked = interface->interfaceDescriptor(
            [&](const hidl_string& descriptor) { name = descriptor.c_str(); });
        const auto construct = details::getBnConstructorMap().get(name);
        if (asked.isOk() && construct) return construct(interface);
        ALOGE("no package that is loaded has the interface %s", name.c_str());
        return nullptr;
    });
}

sp<IBase> details::localImplementation(const sp<IBinder>& binder) {
    auto* const stub = dynamic_cast<BnHwBase*>(binder.get());
    return stub == nullptr ? nullptr : stub->getImpl();
}

}  // namespace android::hardware
