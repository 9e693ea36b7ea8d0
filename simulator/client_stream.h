// The service's end of one client's queue.
#pragma once

#include <fmq/MessageQueue.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "discontinuity.h"
#include "event_flag.h"
#include "hal.h"
#include "refusal.h"

namespace Simulator {

/// How many descriptors a queue is made of, which are kept as long as the queue.
template <typename Descriptor>
size_t descriptorsOf(const Descriptor& queue) {
    return queue.handle() == nullptr ? 0 : static_cast<size_t>(queue.handle()->numFds);
}

/// Writes batches into the queue and signals them. Never blocks, whatever the client does.
///
/// Threading: one thread at a time.
template <typename Record>
class ClientStream {
  public:
    using Queue =
        android::hardware::MessageQueue<Record, android::hardware::kSynchronizedReadWrite>;

    static constexpr size_t kMaxCapacity = 65'536;

    /// Maps the client's queue and event flag. Check refusal() before using any other method.
    ClientStream(const typename Queue::Descriptor& queue, const Hidl::FmqConfig& config)
        : queue_(queue),
          eventFlag_(mapEventFlag(config.eventFlag)),
          readNotifyBit_(config.readNotifyBit),
          dataReadyBit_(config.dataReadyBit) {}

    /// Why the queue is refused; NONE if it is usable.
    Refusal refusal() const {
        if (!queue_.isValid()) {
            return Refusal::QUEUE_NOT_MAPPED;
        }
        if (capacity() == 0 || capacity() > kMaxCapacity) {
            return Refusal::QUEUE_SIZE;
        }
        if (eventFlag_ == nullptr) {
            return Refusal::EVENT_FLAG_NOT_MAPPED;
        }
        if (!isOneBit(readNotifyBit_) || !isOneBit(dataReadyBit_) ||
            readNotifyBit_ == dataReadyBit_) {
            return Refusal::EVENT_FLAG_BITS;
        }
        return Refusal::NONE;
    }

    /// In records.
    size_t capacity() const { return queue_.getQuantumCount(); }

    /// Writes all of the batch and signals it, or drops all of it. @return whether it was written
    bool write(const std::vector<Record>& batch) {
        typename Queue::MemTransaction transaction;
        if (!queue_.beginWrite(batch.size(), &transaction) ||
            !transaction.copyTo(batch.data(), 0, batch.size())) {
            isDiscontinuous_ = true;
            return false;
        }
        if (isDiscontinuous_) {
            Discontinuity<Record>::mark(transaction.getSlot(0));
        }
        // Fails only if the client has moved the writer's counter.
        isDiscontinuous_ = !queue_.commitWrite(batch.size());
        if (!isDiscontinuous_) {
            unreadAfterWrite_ = unread();
            eventFlag_->wake(dataReadyBit_);
        }
        return !isDiscontinuous_;
    }

    /// Whether the queue has room for a batch of this size. For batches larger than the capacity:
    /// whether the queue is empty.
    bool hasRoomFor(size_t records) const {
        return unread() + std::min(records, capacity()) <= capacity();
    }

    /// Waits until the client reads records, but at most 2 ms.
    void awaitRead() {
        constexpr int64_t kWhile = 2'000'000;  // ns
        uint32_t state = 0;
        eventFlag_->wait(readNotifyBit_, &state, kWhile);
    }

    /// Number of records that the client has not read yet.
    size_t unread() const { return std::min(queue_.availableToRead(), capacity()); }

    /// Whether the client has read records since the last write. Uses the counters only, because
    /// checking the event flag would take a system call.
    bool hasReadSinceWrite() const { return unread() < unreadAfterWrite_; }

    /// Notes that records for the client have been lost.
    void noteLoss() { isDiscontinuous_ = true; }

    /// Makes the queue's counters impossible, as a faulty service would.
    void corrupt() {
        const auto& writer = queue_.getDesc()->grantors()[1];
        const int memory = queue_.getDesc()->handle()->data[writer.fdIndex];
        const uint64_t impossible = 3 * capacity() * sizeof(Record);
        void* const page = mmap(nullptr, writer.offset + sizeof(impossible), PROT_READ | PROT_WRITE,
                                MAP_SHARED, memory, 0);
        if (page != MAP_FAILED) {
            std::memcpy(static_cast<uint8_t*>(page) + writer.offset, &impossible,
                        sizeof(impossible));
            munmap(page, writer.offset + sizeof(impossible));
        }
        eventFlag_->wake(dataReadyBit_);
    }

  private:
    static bool isOneBit(uint32_t bits) { return bits != 0 && (bits & (bits - 1)) == 0; }

    Queue queue_;
    EventFlagPointer eventFlag_;
    uint32_t readNotifyBit_;
    uint32_t dataReadyBit_;
    bool isDiscontinuous_ = false;
    size_t unreadAfterWrite_ = 0;
};

}  // namespace Simulator
