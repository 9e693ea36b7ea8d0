// The proxy of an object in another process.
#pragma once

#include <hwbinder/IBinder.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace android::hardware {

namespace details {
class Connection;
}

/**
 * Made by the connection to the other process. Holds a number of references to the remote object,
 * which it releases when it is destroyed.
 */
class BpHwBinder final : public IBinder {
  public:
    BpHwBinder(std::shared_ptr<details::Connection> connection, uint64_t objectId);
    ~BpHwBinder() override;
    BpHwBinder(const BpHwBinder&) = delete;
    BpHwBinder& operator=(const BpHwBinder&) = delete;

    status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags = 0,
                      TransactCallback callback = nullptr) override;
    status_t linkToDeath(const sp<DeathRecipient>& recipient) override;
    status_t unlinkToDeath(const wp<DeathRecipient>& recipient) override;
    BpHwBinder* remoteBinder() override { return this; }

    const std::shared_ptr<details::Connection>& connection() const { return connection_; }
    uint64_t objectId() const { return objectId_; }

    /** Notifies each linked recipient once. Called by the connection when it has ended. */
    void sendObituary();

  private:
    const std::shared_ptr<details::Connection> connection_;
    const uint64_t objectId_;

    std::mutex mutex_;
    bool obituarySent_ = false;
    /** Owned by the interface proxies through which they were linked; destroyed with them. */
    std::vector<wp<DeathRecipient>> recipients_;
};

}  // namespace android::hardware
