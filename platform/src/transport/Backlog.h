// Received calls that wait to be served, and their limits.
#pragma once

#include <hwbinder/Binder.h>
#include <hwbinder/Parcel.h>

#include <algorithm>
#include <cstddef>
#include <deque>
#include <iterator>
#include <map>
#include <memory>
#include <utility>

#include "transport/DescriptorClaim.h"
#include "transport/Frame.h"

namespace android::hardware::details {

/**
 * How much room the calls of one process may take in another, counted by both in the same way: a
 * caller waits while its call does not fit, so a peer that sends it nevertheless has broken the
 * protocol.
 */
class CallWindow {
  public:
    static constexpr size_t kSize = size_t{2} << 20;
    /**
     * The smallest part that is given back at once. A call that does not fit at all is let through
     * while less than this is taken.
     */
    static constexpr size_t kSmallestPart = kSize / 4;

    /** Room that a call and each descriptor take beside their bytes, for memory and a thread. */
    static size_t costOf(const FrameHeader& header) {
        const bool isOneWay = (header.flags & IBinder::FLAG_ONEWAY) != 0;
        return kSize / (isOneWay ? 2048 : 128) + header.itemBytes +
               kSize / 256 * header.descriptorCount;
    }

    /** @return false if the call does not fit */
    bool take(size_t cost) {
        if (taken_ > kSmallestPart && taken_ + cost > kSize) return false;
        taken_ += cost;
        return true;
    }
    /** @return false if so much was not taken */
    bool giveBack(size_t cost) {
        if (cost > taken_) return false;
        taken_ -= cost;
        return true;
    }

  private:
    size_t taken_ = 0;
};

/** A call that was received. */
struct Transaction {
    explicit Transaction(std::shared_ptr<DescriptorAccount> account) : claim(std::move(account)) {}

    FrameHeader header;
    DescriptorClaim claim;
    sp<BHwBinder> target;
    Parcel data;
    /** Some of the call's descriptors could not be received. */
    bool isIncomplete = false;
    bool isNested = false;

    bool isOneWay() const { return (header.flags & IBinder::FLAG_ONEWAY) != 0; }
};
using TransactionPointer = std::unique_ptr<Transaction>;

/**
 * Decides what is served next: one-way calls of one object one after the other, everything else at
 * once, by as many threads as the peer may occupy.
 *
 * Threading: guarded by the connection's mutex.
 */
class Backlog {
  public:
    /** @return whether one more thread is needed, to call next() until nothing is left */
    bool add(TransactionPointer transaction) {
        if (transaction->isOneWay()) {
            const auto [object, isFirst] = oneWayCalls_.try_emplace(transaction->target.get());
            if (!isFirst) {
                object->second.push_back(std::move(transaction));
                return false;
            }
        }
        ready_.push_back(std::move(transaction));
        if (threads_ == kMaxThreads) return false;
        ++threads_;
        return true;
    }

    /** @param served the call that the thread has just served, if any */
    TransactionPointer next(const Transaction* served) {
        if (served != nullptr && served->isOneWay()) {
            const auto object = oneWayCalls_.find(served->target.get());
            if (object->second.empty()) {
                oneWayCalls_.erase(object);
            } else {
                ready_.push_back(std::move(object->second.front()));
                object->second.pop_front();
            }
        }
        if (ready_.empty()) {
            --threads_;
            return nullptr;
        }
        TransactionPointer next = std::move(ready_.front());
        ready_.pop_front();
        return next;
    }

    /** Takes out all calls that are not being served. */
    std::deque<TransactionPointer> clear() {
        std::deque<TransactionPointer> all = std::move(ready_);
        ready_.clear();
        for (auto& [object, calls] : oneWayCalls_) {
            std::move(calls.begin(), calls.end(), std::back_inserter(all));
            calls.clear();
        }
        return all;
    }

  private:
    static constexpr size_t kMaxThreads = 16;

    std::deque<TransactionPointer> ready_;
    /** Calls that wait for an earlier one-way call of the same object, by object. */
    std::map<const BHwBinder*, std::deque<TransactionPointer>> oneWayCalls_;
    size_t threads_ = 0;
};

}  // namespace android::hardware::details
