// Glue between generated proxies and stubs and the binder objects underneath.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/MQDescriptor.h>
#include <hidl/Static.h>
#include <hidl/Status.h>
#include <hwbinder/Binder.h>
#include <hwbinder/BpHwBinder.h>
#include <hwbinder/IInterface.h>
#include <hwbinder/Parcel.h>

#include <cstdint>

namespace android::hardware {

/** Forwards the death of a proxy's process to the recipient that the program linked. */
struct hidl_binder_death_recipient : IBinder::DeathRecipient {
    hidl_binder_death_recipient(const sp<hidl_death_recipient>& recipient, uint64_t cookie,
                                const sp<hidl::base::V1_0::IBase>& base)
        : recipient_(recipient), cookie_(cookie), base_(base) {}
    void binderDied(const wp<IBinder>& /*who*/) override {
        recipient_->serviceDied(cookie_, base_);
    }
    const sp<hidl_death_recipient>& getRecipient() const { return recipient_; }

  private:
    const sp<hidl_death_recipient> recipient_;
    const uint64_t cookie_;
    const wp<hidl::base::V1_0::IBase> base_;
};

// A received value is read in place: its pointer is set to the buffer that came with
// it, and it owns nothing, whatever its bytes claimed.

status_t readEmbeddedFromParcel(const hidl_string& string, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset);
status_t writeEmbeddedToParcel(const hidl_string& string, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset);

status_t readEmbeddedFromParcel(const hidl_handle& handle, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset);
status_t writeEmbeddedToParcel(const hidl_handle& handle, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset);

/**
 * @param handle receives the name of the elements' buffer, by which embedded buffers refer to it
 */
template <typename T>
status_t readEmbeddedFromParcel(const hidl_vec<T>& vec, const Parcel& parcel, size_t parentHandle,
                                size_t parentOffset, size_t* handle) {
    const void* elements = nullptr;
    details::ReceivedValue::clearOwnership(vec);
    return parcel.readNullableEmbeddedBuffer(vec.size() * sizeof(T), handle, parentHandle,
                                             parentOffset + hidl_vec<T>::kOffsetOfBuffer,
                                             &elements);
}

template <typename T>
status_t writeEmbeddedToParcel(const hidl_vec<T>& vec, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset, size_t* handle) {
    return parcel->writeEmbeddedBuffer(vec.data(), vec.size() * sizeof(T), handle, parentHandle,
                                       parentOffset + hidl_vec<T>::kOffsetOfBuffer);
}

template <typename T, MQFlavor flavor>
status_t readEmbeddedFromParcel(const MQDescriptor<T, flavor>& descriptor, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset) {
    using Descriptor = MQDescriptor<T, flavor>;
    size_t grantors = 0;
    const status_t status =
        readEmbeddedFromParcel(descriptor.grantors(), parcel, parentHandle,
                               parentOffset + Descriptor::kOffsetOfGrantors, &grantors);
    if (status != OK) return status;
    const native_handle_t* handle = nullptr;
    return parcel.readNullableEmbeddedNativeHandle(
        parentHandle, parentOffset + Descriptor::kOffsetOfHandle, &handle);
}

template <typename T, MQFlavor flavor>
status_t writeEmbeddedToParcel(const MQDescriptor<T, flavor>& descriptor, Parcel* parcel,
                               size_t parentHandle, size_t parentOffset) {
    using Descriptor = MQDescriptor<T, flavor>;
    size_t grantors = 0;
    const status_t status =
        writeEmbeddedToParcel(descriptor.grantors(), parcel, parentHandle,
                              parentOffset + Descriptor::kOffsetOfGrantors, &grantors);
    if (status != OK) return status;
    return parcel->writeEmbeddedNativeHandle(descriptor.handle(), parentHandle,
                                             parentOffset + Descriptor::kOffsetOfHandle);
}

status_t readFromParcel(Status* status, const Parcel& parcel);
status_t writeToParcel(const Status& status, Parcel* parcel);

/** The binder of a proxy or of a local object. Each has at most one at a time. */
sp<IBinder> getOrCreateCachedBinder(hidl::base::V1_0::IBase* interface);

namespace details {
/** The local object of a binder; null if the binder is a proxy. */
sp<hidl::base::V1_0::IBase> localImplementation(const sp<IBinder>& binder);
}  // namespace details

/**
 * The interface behind a received binder. An object of this process comes back as
 * itself; null if it is not of the expected type, which only a broken peer sends.
 */
template <typename IType, typename ProxyType, typename StubType>
sp<IType> fromBinder(const sp<IBinder>& binder) {
    if (binder == nullptr) return nullptr;
    if (binder->localBinder() == nullptr) return new ProxyType(binder);
    return dynamic_cast<IType*>(details::localImplementation(binder).get());
}

template <typename IType>
sp<IBinder> toBinder(const sp<IType>& interface) {
    return interface == nullptr ? nullptr : getOrCreateCachedBinder(interface.get());
}

}  // namespace android::hardware
