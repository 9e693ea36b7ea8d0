// The base of objects that live in this process and can be called from others.
#pragma once

#include <hwbinder/IBinder.h>

#include <cstdint>
#include <utility>

namespace android::hardware {

/**
 * The runtime holds a reference for as long as another process holds a proxy.
 */
class BHwBinder : public IBinder {
  public:
    status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags = 0,
                      TransactCallback callback = nullptr) final {
        return onTransact(code, data, reply, flags, std::move(callback));
    }
    BHwBinder* localBinder() final { return this; }

  protected:
    /**
     * Serves one call. Calls `callback` with the reply while everything that the reply refers to is
     * alive. If it returns without that, the runtime sends the returned status and, if that is OK,
     * the reply.
     */
    virtual status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                uint32_t flags = 0, TransactCallback callback = nullptr) = 0;

    /** Does nothing: the host layer has no security identifiers. */
    void setRequestingSid(bool /* requesting */) {}

    // Set by generated code and ignored: all threads run with their process's priority.
    int mSchedPolicy = 0;
    int mSchedPriority = 0;
};

}  // namespace android::hardware
