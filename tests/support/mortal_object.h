// An object of another process, as it seems: its death is the test's to choose.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/Status.h>

#include <cstdint>

namespace TestSupport {

template <typename Interface>
class MortalObject : public Interface {
  public:
    using Recipient = android::sp<android::hardware::hidl_death_recipient>;

    android::hardware::Return<bool> linkToDeath(const Recipient& linkedRecipient,
                                                uint64_t cookie) override {
        recipient = cookie == 0 ? linkedRecipient : nullptr;
        return !isDead && cookie == 0;
    }
    android::hardware::Return<bool> unlinkToDeath(const Recipient& linkedRecipient) override {
        if (recipient != linkedRecipient) {
            return false;
        }
        recipient = nullptr;
        ++unlinkCalls;
        return true;
    }

    void die() {
        const Recipient told = recipient;
        told->serviceDied(0, android::wp<android::hidl::base::V1_0::IBase>(this));
    }

    bool isDead = false;
    /// Null while none is linked.
    Recipient recipient;
    int unlinkCalls = 0;
};

}  // namespace TestSupport
