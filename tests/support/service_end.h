// The service's end of one stream, in the test's own process.
#pragma once

#include <fmq/EventFlag.h>
#include <fmq/MessageQueue.h>
#include <vendor/zelvan/hardware/sensors/1.0/ISensorClient.h>

#include <cstdint>
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
    ~ServiceEnd() { Vek::OS::deleteEventFlag(&eventFlag_); }

    void accept(const typename Queue::Descriptor& descriptor,
                const android::sp<Hidl::ISensorClient>& streamClient,
                const Hidl::FmqConfig& config) {
        queue.emplace(descriptor);
        client = streamClient;
        readNotifyBit = config.readNotifyBit;
        dataReadyBit = config.dataReadyBit;
        Vek::OS::deleteEventFlag(&eventFlag_);
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

}  // namespace TestSupport
