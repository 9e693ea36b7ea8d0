// The HAL interfaces of the benchmarks' service, as far as the benchmarks call them.
#pragma once

#include <cutils/ashmem.h>
#include <fmq/EventFlag.h>
#include <fmq/MessageQueue.h>
#include <vendor/zelvan/hardware/sensors/1.0/methods.h>

#include <cstdint>
#include <optional>
#include <type_traits>

#include "between_processes/service.h"

namespace Bench {

namespace Hidl = ::vendor::zelvan::hardware::sensors::V1_0;
using android::sp;
using android::hardware::EventFlag;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using HalClient = const sp<Hidl::ISensorClient>&;

template <typename Record>
using Queue = android::hardware::MessageQueue<Record, android::hardware::kSynchronizedReadWrite>;

/// The service's end of a queue that the library has made. Set on a HIDL thread, before the orders
/// that need it are sent.
template <typename Record>
class StreamEnd {
  public:
    void take(const typename Queue<Record>::Descriptor& queue, const Hidl::FmqConfig& config) {
        queue_.emplace(queue);
        EventFlag::deleteEventFlag(&eventFlag_);
        EventFlag::createEventFlag(config.eventFlag->data[0], 0, &eventFlag_);
        config_ = config;
    }
    void write(const Record& record) {
        queue_->write(&record);
        eventFlag_->wake(config_.dataReadyBit);
    }
    void awaitRoom() {
        while (queue_->availableToWrite() == 0) {
            awaitReadDone();
        }
    }
    void awaitReadDone() { takeReadDone(0); }
    void takeReadDone(int64_t timeout = 1) {
        uint32_t state = 0;
        eventFlag_->wait(config_.readNotifyBit, &state, timeout, true);
    }

  private:
    std::optional<Queue<Record>> queue_;
    EventFlag* eventFlag_ = nullptr;
    Hidl::FmqConfig config_;
};

/// Serves none of the interface's methods; what the benchmarks call is added.
template <typename Interface>
class NotServed : public Interface {
  protected:
    template <auto method, typename Proceed, typename... Arguments>
    auto onCall(const Proceed& /*proceed*/, Arguments&... /*arguments*/)
        -> std::invoke_result_t<Proceed, Arguments&...> {
        return android::hardware::Status::fromExceptionCode(
            android::hardware::Status::EX_TRANSACTION_FAILED, HalTable::kMethodName<method>);
    }
};
template <typename Interface>
using PartlyServed = HalTable::EveryMethod<NotServed<Interface>, Interface>;

class Imu : public PartlyServed<Hidl::IImu> {
  public:
    Return<Hidl::Result> prepareStream(const Queue<Hidl::ImuData>::Descriptor& queue,
                                       HalClient /*client*/,
                                       const Hidl::FmqConfig& config) override {
        samples.take(queue, config);
        return Hidl::Result::SUCCESS;
    }
    Return<Hidl::Result> configureStream(
        const Hidl::MotionStreamProperties& /*properties*/) override {
        return Hidl::Result::SUCCESS;
    }

    StreamEnd<Hidl::ImuData> samples;
};

class CameraStream : public PartlyServed<Hidl::ICameraStream> {
  public:
    CameraStream() {
        native_handle_t* const handle = native_handle_create(1, 0);
        handle->data[0] = ashmem_create_region("recycle", sizeof(uint32_t));
        config_.eventFlag.setTo(handle, true);
        config_.dataReadyBit = 1U << 0;
        config_.readNotifyBit = 1U << 1;
        EventFlag::createEventFlag(handle->data[0], 0, &eventFlag_);
    }

    /// Hands a frame set out and waits until it is back.
    void exchange(const Hidl::FrameSet& frameSet) {
        out_.write(frameSet);
        uint32_t state = 0;
        eventFlag_->wait(config_.dataReadyBit, &state, 0, true);
        recycled_.read(&back_);
    }

    Return<void> prepareStream(HalClient /*client*/, const Queue<Hidl::FrameSet>::Descriptor& queue,
                               const Hidl::FmqConfig& config, prepareStream_cb callback) override {
        out_.take(queue, config);
        callback(Hidl::Result::SUCCESS, *recycled_.getDesc(), config_);
        return Void();
    }

  private:
    StreamEnd<Hidl::FrameSet> out_;
    Queue<Hidl::FrameSet> recycled_{1};
    Hidl::FmqConfig config_;
    EventFlag* eventFlag_ = nullptr;
    Hidl::FrameSet back_{};
};

class CameraProvider : public PartlyServed<Hidl::ICameraProvider> {
  public:
    Return<sp<Hidl::ICameraStream>> getStream(Hidl::FrameType /*type*/) override { return stream; }

    const sp<CameraStream> stream = new CameraStream;
};

class Tambril : public PartlyServed<Hidl::ITambril> {
  public:
    Return<Hidl::Result> registerClient(Hidl::KivraRpcClientId /*client*/,
                                        const sp<Hidl::ITambrilCallback>& /*callback*/) override {
        return Hidl::Result::SUCCESS;
    }
    Return<Hidl::Result> sendMessage(const sp<Hidl::ITambrilCallback>& callback,
                                     const Hidl::ControllerAddr& address, uint32_t procedure,
                                     const hidl_vec<uint8_t>& payload) override {
        if (procedure == kAnsweredProcedure) {
            Hidl::KivraRpcMessage answer{};
            answer.address = address;
            answer.payload = payload;
            callback->onKivraRpcMessage(answer).isOk();
        }
        return Hidl::Result::SUCCESS;
    }
};

}  // namespace Bench
