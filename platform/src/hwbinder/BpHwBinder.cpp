// Proxies.
#include <hwbinder/BpHwBinder.h>
#include <hwbinder/Parcel.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

#include "transport/Connection.h"

namespace android::hardware {

BpHwBinder::BpHwBinder(std::shared_ptr<details::Connection> connection, uint64_t objectId)
    : connection_(std::move(connection)), objectId_(objectId) {}

BpHwBinder::~BpHwBinder() {
    connection_->releaseProxy(this);
}

status_t BpHwBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                              TransactCallback callback) {
    const status_t status = connection_->call(objectId_, code, data, reply, flags);
    if (status == OK && callback && reply != nullptr) callback(*reply);
    return status;
}

status_t BpHwBinder::linkToDeath(const sp<DeathRecipient>& recipient) {
    const std::lock_guard lock(mutex_);
    if (obituarySent_ || !connection_->isAlive()) return DEAD_OBJECT;
    recipients_.push_back(recipient);
    return OK;
}

status_t BpHwBinder::unlinkToDeath(const wp<DeathRecipient>& recipient) {
    const std::lock_guard lock(mutex_);
    const auto found = std::find(recipients_.begin(), recipients_.end(), recipient);
    if (found == recipients_.end()) return obituarySent_ ? DEAD_OBJECT : NAME_NOT_FOUND;
    recipients_.erase(found);
    return OK;
}

void BpHwBinder::sendObituary() {
    const wp<IBinder> who(this);
    while (true) {
        sp<DeathRecipient> recipient;
        {
            // Takes out one recipient at a time: it may unlink those that follow.
            const std::lock_guard lock(mutex_);
            obituarySent_ = true;
            if (recipients_.empty()) return;
            recipient = recipients_.front().promote();
            recipients_.erase(recipients_.begin());
        }
        if (recipient != nullptr) recipient->binderDied(who);
    }
}

}  // namespace android::hardware
