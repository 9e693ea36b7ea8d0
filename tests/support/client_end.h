// A client of the simulated service that does by hand what the library does.
#pragma once

#include <cutils/ashmem.h>
#include <fmq/EventFlag.h>
#include <fmq/MessageQueue.h>
#include <vendor/zelvan/hardware/sensors/1.0/ISensorClient.h>

#include <cstdint>

#include "support/handle.h"
#include "support/mortal_object.h"

namespace TestSupport {

namespace Hidl = ::vendor::zelvan::hardware::sensors::V1_0;

constexpr uint32_t kDataReady = 1U << 0;
constexpr uint32_t kReadDone = 1U << 15;

template <typename Interface>
class FakeClient : public MortalObject<Interface> {
  public:
    android::hardware::Return<void> getSensorClientInfo(
        Hidl::ISensorClient::getSensorClientInfo_cb callback) override {
        callback(Hidl::Result::SUCCESS, {"test"});
        return android::hardware::Void();
    }
};
using FakeSensorClient = FakeClient<Hidl::ISensorClient>;

/// The client's queue and event flag.
template <typename Record>
class ClientEnd {
  public:
    using Queue =
        android::hardware::MessageQueue<Record, android::hardware::kSynchronizedReadWrite>;

    explicit ClientEnd(size_t capacity) : queue(capacity) {
        config.eventFlag = handleOf({ashmem_create_region("event flag", 4096)});
        config.dataReadyBit = kDataReady;
        config.readNotifyBit = kReadDone;
        android::hardware::EventFlag::createEventFlag(config.eventFlag->data[0], 0, &eventFlag);
    }
    ~ClientEnd() { android::hardware::EventFlag::deleteEventFlag(&eventFlag); }
    ClientEnd(const ClientEnd&) = delete;
    ClientEnd& operator=(const ClientEnd&) = delete;

    /// False if no data-ready bit comes within a generous bound.
    bool awaitData() const {
        constexpr int64_t kBound = 30'000'000'000;
        uint32_t state = 0;
        return eventFlag->wait(kDataReady, &state, kBound, true) == android::OK;
    }

    Queue queue;
    Hidl::FmqConfig config;
    android::hardware::EventFlag* eventFlag = nullptr;
    android::sp<FakeSensorClient> identity = new FakeSensorClient;
};

}  // namespace TestSupport
