// The service's end of one stream, in the test's own process.
#pragma once

#include <cutils/ashmem.h>
#include <fmq/EventFlag.h>
#include <fmq/MessageQueue.h>
#include <sys/mman.h>
#include <vendor/zelvan/hardware/sensors/1.0/ISensorClient.h>

#include <atomic>
#include <cstddef>
#include <optional>
#include <vector>

#include "os/event_flag.h"

namespace TestSupport {

namespace Hidl = ::vendor::zelvan::hardware::sensors::V1_0;

/// Takes what a prepare call hands over, writes records and looks at the event flag.
template <typename Record>
class ServiceEnd {
  public:
    using Queue =
        android::hardware::MessageQueue<Record, android::hardware::kSynchronizedReadWrite>;

    ServiceEnd() = default;
    ServiceEnd(const ServiceEnd&) = delete;
    ServiceEnd& operator=(const ServiceEnd&) = delete;
    ~ServiceEnd() { android::hardware::EventFlag::deleteEventFlag(&eventFlag_); }

    void accept(const typename Queue::Descriptor& descriptor,
                const android::sp<Hidl::ISensorClient>& streamClient,
                const Hidl::FmqConfig& config) {
        queue.emplace(descriptor);
        client = streamClient;
        readNotifyBit = config.readNotifyBit;
        dataReadyBit = config.dataReadyBit;
        android::hardware::EventFlag::deleteEventFlag(&eventFlag_);
        eventFlag_ = Vek::OS::createEventFlagFromHandle(config.eventFlag);
    }

    bool write(const std::vector<Record>& records) {
        return queue->write(records.data(), records.size());
    }

    bool writeAndSignal(const std::vector<Record>& records) {
        return write(records) && eventFlag_->wake(dataReadyBit) == android::NO_ERROR;
    }

    void signal() { eventFlag_->wake(dataReadyBit); }

    /// Takes the read-done bit off the event flag; false if it was not set.
    bool takeReadDone() {
        uint32_t state = 0;
        constexpr int64_t kNoWait = 1;
        return eventFlag_->wait(readNotifyBit, &state, kNoWait) == android::NO_ERROR &&
               (state & readNotifyBit) != 0;
    }

    std::optional<Queue> queue;
    android::sp<Hidl::ISensorClient> client;
    uint32_t readNotifyBit = 0;
    uint32_t dataReadyBit = 0;

  private:
    android::hardware::EventFlag* eventFlag_ = nullptr;
};

/// A mapping of a queue's counters and records, for services that break the rules.
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
