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
 * Flow control: limits what the calls of one process may occupy in another. Both sides count the
 * same costs. A caller waits while its call does not fit; a peer that sends it nevertheless breaks
 * the protocol.
 */
class CallWindow {
  public:
    static constexpr size_t kSize = size_t{2} << 20;
    /**
     * The smallest cost for which a receiver sends a notice that one-way calls were served. While
     * at most this much is taken, any call fits, however large.
     */
    static constexpr size_t kSmallestPart = kSize / 4;

    /**
     * Cost of a call: its bytes, plus fixed amounts for the call itself and for each descriptor,
     * which stand for memory and a thread.
     */
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
    /** @return false if `cost` exceeds what was taken */
    bool giveBack(size_t cost) {
        if (cost > taken_) return false;
        taken_ -= cost;
        return true;
    }

  private:
    size_t taken_ = 0;
};

/** A received call. */
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
 * Decides which call is served next. One-way calls to the same object are served one after the
 * other; all other calls are served concurrently, by up to kMaxThreads threads for each peer.
 *
 * Threading: guarded by the connection's mutex.
 */
class Backlog {
  public:
    /** @return whether one more thread should call next() until that returns null */
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

    /** Removes and returns all calls that are not being served. */
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
