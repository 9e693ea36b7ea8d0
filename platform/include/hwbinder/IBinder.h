// An object that can be called from another process: common base of local objects and proxies.
#pragma once

#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

#include <cstdint>
#include <functional>

namespace android::hardware {

class BHwBinder;
class BpHwBinder;
class Parcel;

/**
 * Threading: every method may be called from any thread.
 */
class IBinder : public virtual RefBase {
  public:
    using TransactCallback = std::function<void(Parcel&)>;

    enum : uint32_t { FLAG_ONEWAY = 1 };

    /** Notified once when the process of a proxy's object has died. */
    class DeathRecipient : public virtual RefBase {
      public:
        /** Called on a HIDL thread with no lock of the runtime held. */
        virtual void binderDied(const wp<IBinder>& who) = 0;
    };

    /**
     * Calls the object.
     *
     * @param reply receives the answer; may be null for a one-way call
     * @param callback called with the reply, before this returns
     * @return OK, DEAD_OBJECT if the other process has died, or the callee's status
     */
    virtual status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags = 0,
                              TransactCallback callback = nullptr) = 0;

    /** @return DEAD_OBJECT if the object has died already; the recipient is not called then. */
    virtual status_t linkToDeath(const sp<DeathRecipient>& /*recipient*/) {
        return INVALID_OPERATION;  // a local object dies with its process only
    }

    /** @return DEAD_OBJECT after the death, NAME_NOT_FOUND for a recipient that is not linked. */
    virtual status_t unlinkToDeath(const wp<DeathRecipient>& /*recipient*/) {
        return INVALID_OPERATION;
    }

    /** This object if it lives in this process, else null. */
    virtual BHwBinder* localBinder() { return nullptr; }

    /** This object if it is a proxy, else null. */
    virtual BpHwBinder* remoteBinder() { return nullptr; }
};

}  // namespace android::hardware
