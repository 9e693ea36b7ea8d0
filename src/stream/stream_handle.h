// The client's end of one input stream: a queue that the HAL service writes.
#pragma once

#include <fmq/MessageQueue.h>
#include <sys/types.h>
#include <vek/sensors/stream.h>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <type_traits>
#include <utility>

#include "foundation/hal_call.h"
#include "foundation/sensor_client.h"
#include "stream/callback_storage.h"
#include "stream/composite_stream.h"
#include "stream/record_conversion.h"
#include "stream/stream_handle_base.h"

namespace Vek::Sensors::HidlWrapper {

/// Owns the queue and drains it, a batch at a time, into the client's callback.
///
/// @tparam Data the client API's record.
/// @tparam HidlData the HAL's record, the queue's element. If RecordConversion does not convert the
/// records, the client sees the queue's own memory.
///
/// Threading: all calls on the thread that waits on the composite. A handle must outlive the last
/// wait on the composites that it was added to.
template <typename Data, typename HidlData>
class StreamHandle : public StreamHandleBase, public IDataStream<Data> {
  public:
    using Queue =
        android::hardware::MessageQueue<HidlData, android::hardware::kSynchronizedReadWrite>;
    using Batch = typename IDataStream<Data>::Batch;
    using Callback = std::function<void(Batch)>;
    /// The interface's method that takes the queue.
    using PrepareCall = std::function<android::hardware::Return<Hidl::Result>(
        const typename Queue::Descriptor&, const android::sp<Hidl::ISensorClient>&,
        const Hidl::FmqConfig&)>;

    static constexpr size_t kDefaultQueueSize = 32;

    explicit StreamHandle(PrepareCall prepare)
        : prepare_(std::move(prepare)), client_(new SensorClient("clientId")) {}

    // The composite holds its address.
    StreamHandle(const StreamHandle&) = delete;
    StreamHandle& operator=(const StreamHandle&) = delete;

    void prepareStream(android::hardware::hidl_handle eventFlagHandle,
                       android::hardware::EventFlag* eventFlag, uint32_t readNotifyBit,
                       uint32_t dataReadyBit) override {
        evFlag_ = eventFlag;
        readNotifyBit_ = readNotifyBit;
        const Hidl::FmqConfig config{std::move(eventFlagHandle), readNotifyBit, dataReadyBit};
        const android::hardware::Return<Hidl::Result> res =
            prepare_(*fmq_->getDesc(), client_, config);
        checkTransport(res, __PRETTY_FUNCTION__);
        MORIAK_FATAL_IF(res != Hidl::Result::SUCCESS, "StreamHandle prepareStream failed");
    }

    bool read() override {
        // The service moves one of the counters, so `avail` must be checked before use.
        const size_t avail = fmq_->availableToRead();
        if (avail == 0) {
            return false;
        }
        const size_t availBytes = avail * sizeof(HidlData);
        MORIAK_FATAL_IF(
            static_cast<ssize_t>(availBytes) < 0,
            "observed FMQ readPtr ahead of writePtr; check for races in caller! availBytes=%zu",
            availBytes);
        MORIAK_FATAL_IF(avail > queueSize_,
                        "observed FMQ with too many elements; check for races in caller! "
                        "avail=%zu, capacity=%zu",
                        avail, queueSize_);
        typename Queue::MemTransaction transaction;
        const bool began = fmq_->beginRead(avail, &transaction);
        MORIAK_FATAL_IF(!began, "failed to begin FMQ read of %zu messages", avail);
        deliver(transaction);
        const bool committed = fmq_->commitRead(avail);
        MORIAK_FATAL_IF(!committed, "failed to commit FMQ read of %zu messages", avail);
        const android::status_t status = evFlag_->wake(readNotifyBit_);
        MORIAK_FATAL_IF(status != android::NO_ERROR,
                        "Unexpected error code from EventFlag::wake: status %d", status);
        return true;
    }

    void setCallbackv(Callback callback) override { callback_ = Delivery(std::move(callback)); }

    size_t getQueueSize() override { return queueSize_; }

    void setQueueSize(size_t messages) override {
        MORIAK_FATAL_IF(fmq_.has_value(), "Failed to set queue size: queue has been initialized.");
        queueSize_ = messages;
    }

    void addTo(ICompositeStream& composite) override {
        fmq_.emplace(queueSize_);
        MORIAK_FATAL_IF(!fmq_->isValid(), "Failed to create fmq");
        static_cast<CompositeStream&>(composite).addStream(*this);
    }

    /// The object by which the service identifies this stream's client.
    const android::sp<SensorClient>& client() const { return client_; }

  private:
    using Delivery =
        std::conditional_t<kIsConverted<Data>, CallbackStorage<Data, HidlData>, Callback>;

    void deliver(const typename Queue::MemTransaction& transaction) const {
        if constexpr (kIsConverted<Data>) {
            callback_.deliver(transaction);
        } else {
            const std::array<gsl::span<const Data>, 2> spans{viewOf(transaction.getFirstRegion()),
                                                             viewOf(transaction.getSecondRegion())};
            callback_(spans);
        }
    }

    template <typename MemRegion>
    static gsl::span<const Data> viewOf(const MemRegion& region) {
        return inPlace<Data, HidlData>(region.getAddress(), region.getLength());
    }

    android::hardware::EventFlag* evFlag_ = nullptr;
    uint32_t readNotifyBit_ = 0;
    PrepareCall prepare_;
    Delivery callback_;
    std::optional<Queue> fmq_;
    android::sp<SensorClient> client_;
    size_t queueSize_ = kDefaultQueueSize;
};

}  // namespace Vek::Sensors::HidlWrapper
