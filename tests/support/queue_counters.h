// A queue's memory without the queue, for peers that break the rules.
#pragma once

#include <cutils/ashmem.h>
#include <fmq/MessageQueue.h>
#include <sys/mman.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace TestSupport {

/// A mapping of a queue's counters and records.
class QueueCounters {
  public:
    template <typename Queue>
    explicit QueueCounters(const Queue& queue) : grantors_(queue.getDesc()->grantors()) {
        const int fd = queue.getDesc()->handle()->data[0];
        size_ = static_cast<size_t>(ashmem_get_size_region(fd));
        base_ = static_cast<std::byte*>(
            mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
    }
    ~QueueCounters() { munmap(base_, size_); }
    QueueCounters(const QueueCounters&) = delete;
    QueueCounters& operator=(const QueueCounters&) = delete;

    std::atomic<uint64_t>& read() { return *at<std::atomic<uint64_t>>(0); }
    std::atomic<uint64_t>& written() { return *at<std::atomic<uint64_t>>(1); }
    template <typename Record>
    Record* records() {
        return at<Record>(2);
    }

  private:
    template <typename T>
    T* at(size_t grantor) {
        return reinterpret_cast<T*>(base_ + grantors_[grantor].offset);
    }

    android::hardware::hidl_vec<android::hardware::GrantorDescriptor> grantors_;
    size_t size_;
    std::byte* base_;
};

}  // namespace TestSupport
