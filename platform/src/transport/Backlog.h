// Calls of a peer that wait here, and how many of them there may be.
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
 * How much of one process's calls another may have to keep, as both of them count it: the caller
 * waits while its call does not fit, so that a peer which sends it has broken the protocol.
 */
class CallWindow {
  public:
    static constexpr size_t kSize = size_t{2} << 20;
    /** The least that is given back at once, and what does not count for a call that is larger. */
    static constexpr size_t kSmallestPart = kSize / 4;

    /** In bytes, but for what a call and a descriptor take beside: a thread for one, memory. */
    static size_t costOf(const FrameHeader& header) {
        const bool isOneWay = (header.flags & IBinder::FLAG_ONEWAY) != 0;
        return kSize / (isOneWay ? 2048 : 128) + header.itemBytes +
               kSize / 256 * header.descriptorCount;
    }

    /** @return false if it does not fit */
    bool take(size_t cost) {
        if (taken_ > kSmallestPart && taken_ + cost > kSize) return false;
        taken_ += cost;
        return true;
    }
    /** @return false if it was not taken */
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
    /** Some of its descriptors could not be taken. */
    bool isIncomplete = false;
    bool isNested = false;

    bool isOneWay() const { return (header.flags & IBinder::FLAG_ONEWAY) != 0; }
};
using TransactionPointer = std::unique_ptr<Transaction>;

/**
 * What is to be served next: one-way calls of an object one after the other, all else at once, by
 * so many threads as the peer may occupy.
 *
 * Threading: guarded by its connection.
 */
class Backlog {
  public:
    /** @return whether one more thread is wanted that calls next() until there is none */
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

    /** @param served the call that the thread had before, if any */
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

    /** Takes out what is not being served. */
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
    /** Those that wait for the one before, by an object that has one ready or being served. */
    std::map<const BHwBinder*, std::deque<TransactionPointer>> oneWayCalls_;
    size_t threads_ = 0;
};

}  // namespace android::hardware::details
