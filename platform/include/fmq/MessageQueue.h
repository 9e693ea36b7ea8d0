// A queue of fixed-size records in shared memory, between one writer and one reader.
#pragma once

#include <android-base/unique_fd.h>
#include <cutils/ashmem.h>
#include <fmq/SharedMapping.h>
#include <hidl/MQDescriptor.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <vector>

namespace android::hardware {

/**
 * The queue's ring, and the two counters of bytes that were written and read, lie in memory that
 * both processes map. Each side moves its own counter only, and trusts the other's no further than
 * to stay inside the ring: whatever a broken peer does, nothing outside is touched.
 *
 * Threading: one reading and one writing thread at a time, in whatever processes.
 */
template <typename T, MQFlavor flavor>
class MessageQueue {
    static_assert(std::is_trivially_copyable_v<T> || std::is_standard_layout_v<T>,
                  "records are shared between processes");

  public:
    typedef MQDescriptor<T, flavor> Descriptor;

    /** Neighbouring records. */
    class MemRegion {
      public:
        MemRegion() = default;
        MemRegion(T* address, size_t length) : address_(address), length_(length) {}
        T* getAddress() const { return address_; }
        /** Number of records. */
        size_t getLength() const { return length_; }

      private:
        T* address_ = nullptr;
        size_t length_ = 0;
    };

    /** The records of one read or write; in two regions if they wrap around the ring's end. */
    class MemTransaction {
      public:
        MemTransaction() = default;
        MemTransaction(const MemRegion& first, const MemRegion& second)
            : first_(first), second_(second) {}
        const MemRegion& getFirstRegion() const { return first_; }
        const MemRegion& getSecondRegion() const { return second_; }
        /** @return null beyond the transaction */
        T* getSlot(size_t index) {
            if (index < first_.getLength()) return first_.getAddress() + index;
            index -= first_.getLength();
            return index < second_.getLength() ? second_.getAddress() + index : nullptr;
        }
        /** Records into the queue. @return false if they are too many */
        bool copyTo(const T* records, size_t startIndex, size_t count = 1) {
            return forEachRegion(startIndex, count, [&records](T* region, size_t length) {
                memcpy(static_cast<void*>(region), records, length * sizeof(T));
                records += length;
            });
        }
        /** Records out of the queue. @return false if they are too many */
        bool copyFrom(T* records, size_t startIndex, size_t count = 1) {
            return forEachRegion(startIndex, count, [&records](T* region, size_t length) {
                memcpy(static_cast<void*>(records), region, length * sizeof(T));
                records += length;
            });
        }

      private:
        template <typename Copy>
        bool forEachRegion(size_t start, size_t count, Copy copy) {
            const size_t total = first_.getLength() + second_.getLength();
            if (start > total || count > total - start) return false;
            const size_t inFirst =
                start < first_.getLength() ? std::min(count, first_.getLength() - start) : 0;
            if (inFirst > 0) copy(first_.getAddress() + start, inFirst);
            const size_t secondStart = start + inFirst - first_.getLength();
            if (count > inFirst) copy(second_.getAddress() + secondStart, count - inFirst);
            return true;
        }

        MemRegion first_;
        MemRegion second_;
    };

    /**
     * Makes a queue; isValid() is false if memory was exhausted. A queue of zero records is valid,
     * and always both empty and full.
     * @param configureEventFlagWord adds a word for an event flag
     */
    explicit MessageQueue(size_t numElementsInQueue, bool configureEventFlagWord = false);

    /**
     * Opens the other end of a queue; isValid() is false if the descriptor does not describe one.
     * @param resetPointers empties the queue
     */
    explicit MessageQueue(const Descriptor& descriptor, bool resetPointers = true)
        : descriptor_(new Descriptor(descriptor)) {
        map(resetPointers);
    }

    MessageQueue(const MessageQueue&) = delete;
    MessageQueue& operator=(const MessageQueue&) = delete;

    bool isValid() const { return isValid_; }
    /** @return null if memory was exhausted; owned by the queue */
    const Descriptor* getDesc() const { return descriptor_.get(); }
    size_t getQuantumCount() const { return ringSize_ / sizeof(T); }
    /** @return null if the queue was made without an event-flag word */
    std::atomic<uint32_t>* getEventFlagWord() const { return eventFlagWord_; }

    /**
     * The two results follow from the counters without a check, as on the device: if the peer is
     * broken they may exceed the queue's capacity, so callers check them.
     */
    size_t availableToRead() const {
        return (writePosition_->load(std::memory_order_acquire) -
                readPosition_->load(std::memory_order_relaxed)) /
               sizeof(T);
    }
    size_t availableToWrite() const { return (ringSize_ - countUsed()) / sizeof(T); }

    /** All or nothing. */
    bool write(const T* records, size_t count = 1) {
        MemTransaction transaction;
        return beginWrite(count, &transaction) && transaction.copyTo(records, 0, count) &&
               commitWrite(count);
    }
    /** All or nothing. */
    bool read(T* records, size_t count = 1) {
        MemTransaction transaction;
        return beginRead(count, &transaction) && transaction.copyFrom(records, 0, count) &&
               commitRead(count);
    }

    /**
     * Gives access to free space, to be filled in place. @return false if there is less than
     * `count`
     */
    bool beginWrite(size_t count, MemTransaction* transaction) const {
        if (!hasRoomFor(count)) return false;
        return locate(writePosition_->load(std::memory_order_relaxed), count, transaction);
    }
    bool commitWrite(size_t count) {
        if (!hasRoomFor(count)) return false;
        writePosition_->store(writePosition_->load(std::memory_order_relaxed) + count * sizeof(T),
                              std::memory_order_release);
        return true;
    }

    /**
     * Gives access to records in place. @return false if there are fewer than `count`, or if the
     * counters are impossible; then all records are skipped
     */
    bool beginRead(size_t count, MemTransaction* transaction) const {
        uint64_t unread = 0;
        return countUnread(&unread) && count <= unread / sizeof(T) &&
               locate(readPosition_->load(std::memory_order_relaxed), count, transaction);
    }
    /** @return false if the counters have become impossible; then all records are skipped */
    bool commitRead(size_t count) {
        uint64_t unread = 0;
        if (!countUnread(&unread)) return false;
        readPosition_->store(readPosition_->load(std::memory_order_relaxed) + count * sizeof(T),
                             std::memory_order_release);
        return true;
    }

  private:
    using Counter = std::atomic<uint64_t>;

    /** Bytes in use, as seen by the writer. */
    uint64_t countUsed() const {
        return writePosition_->load(std::memory_order_relaxed) -
               readPosition_->load(std::memory_order_acquire);
    }
    bool hasRoomFor(size_t count) const {
        const uint64_t used = countUsed();
        return used <= ringSize_ && count <= (ringSize_ - used) / sizeof(T);
    }

    /**
     * Counts unread bytes. @return false if the counters are impossible; then all records are
     * skipped
     */
    bool countUnread(uint64_t* unread) const {
        const uint64_t written = writePosition_->load(std::memory_order_acquire);
        *unread = written - readPosition_->load(std::memory_order_relaxed);
        if (*unread <= ringSize_) return true;
        readPosition_->store(written, std::memory_order_release);
        return false;
    }

    bool locate(uint64_t position, size_t count, MemTransaction* transaction) const {
        const auto offset = static_cast<size_t>(position % positions_);
        if (offset % sizeof(T) != 0) return false;
        const size_t start = offset / sizeof(T);
        const size_t inFirst = std::min(count, getQuantumCount() - start);
        *transaction =
            MemTransaction(MemRegion(ring_ + start, inFirst), MemRegion(ring_, count - inFirst));
        return true;
    }

    void map(bool resetPointers);
    template <typename Part>
    Part* mapGrantor(size_t index);

    std::unique_ptr<Descriptor> descriptor_;
    bool isValid_ = false;
    T* ring_ = nullptr;  // null if the capacity is zero
    size_t ringSize_ = 0;
    size_t positions_ = 1;  // in the ring, which a queue of no records does not have
    Counter* readPosition_ = nullptr;
    Counter* writePosition_ = nullptr;
    std::atomic<uint32_t>* eventFlagWord_ = nullptr;
    details::SharedMapping mappings_[Descriptor::EVFLAGWORDPOS + 1];
};

template <typename T, MQFlavor flavor>
MessageQueue<T, flavor>::MessageQueue(size_t numElementsInQueue, bool configureEventFlagWord) {
    // Regions of shared memory are below 2 GiB.
    constexpr size_t kMaxElements = (size_t{1} << 30) / sizeof(T);
    if (numElementsInQueue > kMaxElements) return;
    const size_t dataSize = numElementsInQueue * sizeof(T);
    // Each part has a cache line of its own, so that writer and reader do not share one.
    constexpr size_t kLine = 64;
    const uint32_t dataOffset = 3 * kLine;
    base::unique_fd fd(ashmem_create_region("MessageQueue", dataOffset + dataSize));
    if (!fd.ok()) return;
    native_handle_t* handle = native_handle_create(1, 0);
    if (handle == nullptr) return;
    handle->data[0] = fd.release();
    std::vector<GrantorDescriptor> grantors{
        {0, 0, 0, sizeof(Counter)}, {0, 0, kLine, sizeof(Counter)}, {0, 0, dataOffset, dataSize}};
    if (configureEventFlagWord) grantors.push_back({0, 0, 2 * kLine, sizeof(uint32_t)});
    descriptor_ = std::make_unique<Descriptor>(grantors, handle, sizeof(T));
    map(true);
}

template <typename T, MQFlavor flavor>
void MessageQueue<T, flavor>::map(bool resetPointers) {
    ringSize_ = descriptor_->getSize();
    if (descriptor_->getQuantum() != sizeof(T) || descriptor_->getFlags() != flavor ||
        ringSize_ % sizeof(T) != 0 ||
        descriptor_->grantors().size() < Descriptor::kMinGrantorCount) {
        return;
    }
    readPosition_ = mapGrantor<Counter>(Descriptor::READPTRPOS);
    writePosition_ = mapGrantor<Counter>(Descriptor::WRITEPTRPOS);
    eventFlagWord_ = mapGrantor<std::atomic<uint32_t>>(Descriptor::EVFLAGWORDPOS);
    if (readPosition_ == nullptr || writePosition_ == nullptr) return;
    ring_ = mapGrantor<T>(Descriptor::DATAPTRPOS);
    isValid_ = ring_ != nullptr || ringSize_ == 0;
    if (ringSize_ != 0) positions_ = ringSize_;
    if (!isValid_ || !resetPointers) return;
    readPosition_->store(0, std::memory_order_release);
    writePosition_->store(0, std::memory_order_release);
}

template <typename T, MQFlavor flavor>
template <typename Part>
Part* MessageQueue<T, flavor>::mapGrantor(size_t index) {
    const native_handle_t* handle = descriptor_->handle();
    if (handle == nullptr || index >= descriptor_->grantors().size()) return nullptr;
    const GrantorDescriptor& grantor = descriptor_->grantors()[index];
    const bool isWhole = index == Descriptor::DATAPTRPOS || grantor.extent == sizeof(Part);
    if (!isWhole || grantor.offset % alignof(Part) != 0 || handle->numFds < 1 ||
        grantor.fdIndex >= static_cast<uint32_t>(handle->numFds)) {
        return nullptr;
    }
    mappings_[index] =
        details::mapShared(handle->data[grantor.fdIndex], grantor.offset, grantor.extent);
    return static_cast<Part*>(mappings_[index].get());
}

}  // namespace android::hardware
