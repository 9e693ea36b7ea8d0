// The client's end of a stream whose records are handed back: a queue that the HAL service writes,
// and a recycle queue that it reads.
#pragma once

#include <fmq/MessageQueue.h>
#include <vek/sensors/stream.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "foundation/hal_call.h"
#include "foundation/sensor_client.h"
#include "os/event_flag.h"
#include "os/intentional_leak.h"
#include "stream/composite_stream.h"
#include "stream/received_queue.h"
#include "stream/record_conversion.h"
#include "stream/stream_handle_base.h"

namespace Vek::Sensors::HidlWrapper {

/// Takes one record at a time, passes it to the client's callback and then writes it into the
/// recycle queue, which the service owns. So the client never holds more than one record, and the
/// service knows when it may reuse the buffers that the record names.
///
/// @tparam Data the client API's record.
/// @tparam HidlData the HAL's record, the element of both queues; of the same layout.
///
/// Threading: all calls on the thread that waits on the composite. A handle must outlive the last
/// wait on the composites that it was added to.
template <typename Data, typename HidlData>
class DualStreamHandle : public StreamHandleBase, public IDataStream<Data> {
  public:
    using Queue =
        android::hardware::MessageQueue<HidlData, android::hardware::kSynchronizedReadWrite>;
    using Batch = typename IDataStream<Data>::Batch;
    using Callback = std::function<void(Batch)>;
    using PrepareResult = std::function<void(
        Hidl::Result, const typename Queue::Descriptor& recycleQueue, const Hidl::FmqConfig&)>;
    /// The interface's method that exchanges the queues.
    using PrepareCall = std::function<android::hardware::Return<void>(
        const android::sp<Hidl::ISensorClient>&, const typename Queue::Descriptor&,
        const Hidl::FmqConfig&, PrepareResult)>;

    static constexpr size_t kMessageQueueSize = 1;

    DualStreamHandle(PrepareCall prepare, const std::string& clientName)
        : prepare_(std::move(prepare)), client_(new SensorClient(clientName)) {}

    // The composite holds its address.
    DualStreamHandle(const DualStreamHandle&) = delete;
    DualStreamHandle& operator=(const DualStreamHandle&) = delete;

    void prepareStream(android::hardware::hidl_handle eventFlagHandle,
                       android::hardware::EventFlag* eventFlag, uint32_t readNotifyBit,
                       uint32_t dataReadyBit) override {
        evFlag_ = eventFlag;
        readNotifyBit_ = readNotifyBit;
        recycle_ = {};
        const Hidl::FmqConfig config{std::move(eventFlagHandle), readNotifyBit, dataReadyBit};
        checkTransport(prepare_(client_, *fmq_->getDesc(), config,
                                [this](Hidl::Result res, const auto& recycleQueue,
                                       const Hidl::FmqConfig& recycleConfig) {
                                    openRecycleQueue(res, recycleQueue, recycleConfig);
                                }),
                       __PRETTY_FUNCTION__);
        // Also fails if the service returned without calling the callback.
        if (recycle_.fmq == nullptr || !recycle_.fmq->isValid()) {
            MORIAK_FATAL_FOR("!recycle_.fmq->isValid()", "Failed to create FMQ");
        }
    }

    bool read() override {
        HidlData record;
        if (!fmq_->read(&record)) {
            return false;
        }
        android::status_t status = evFlag_->wake(readNotifyBit_);
        MORIAK_FATAL_IF(status != android::NO_ERROR,
                        "Unexpected error code from EventFlag::wake on read: status %d", status);
        show(record);
        typename Queue::MemTransaction transaction;
        const bool ret = recycle_.fmq->beginWrite(1, &transaction);
        MORIAK_FATAL_IF(!ret,
                        "Failed to write to recycle FMQ; This means there is no space left in the "
                        "FMQ, which is an invalid state");
        transaction.copyTo(&record, 0);
        recycle_.fmq->commitWrite(1);
        status = recycle_.ef->wake(recycle_.dataReadyBit);
        MORIAK_FATAL_IF(status != android::NO_ERROR,
                        "Unexpected error code from EventFlag::wake on write: status %d", status);
        return true;
    }

    void setCallbackv(Callback callback) override { callback_ = std::move(callback); }

    size_t getQueueSize() override { return kMessageQueueSize; }

    void setQueueSize(size_t /*messages*/) override {
        MORIAK_FATAL("DualStreamHandle queue size is not configurable.");
    }

    void addTo(ICompositeStream& composite) override {
        fmq_.emplace(kMessageQueueSize);
        MORIAK_FATAL_IF(!fmq_->isValid(), "Failed to create fmq");
        static_cast<CompositeStream&>(composite).addStream(*this);
    }

    /// The object by which the service identifies this stream's client.
    const android::sp<SensorClient>& client() const { return client_; }

  private:
    void openRecycleQueue(Hidl::Result res, const typename Queue::Descriptor& descriptor,
                          const Hidl::FmqConfig& config) {
        MORIAK_FATAL_IF(res != Hidl::Result::SUCCESS, "DualStreamHandle prepareStream failed");
        android::hardware::EventFlag* const ef = OS::createEventFlagFromHandle(config.eventFlag);
        MORIAK_FATAL_IF(ef == nullptr, "Failed to obtain event flag for recycle FMQ");
        OS::leakIntentionally(ef);
        if (describesQueue(descriptor)) {
            constexpr bool kResetPointers = true;
            recycle_.fmq = std::make_unique<Queue>(descriptor, kResetPointers);
        }
        recycle_.ef = ef;
        recycle_.readNotifyBit = config.readNotifyBit;
        recycle_.dataReadyBit = config.dataReadyBit;
    }

    void show(const HidlData& record) const {
        const gsl::span<const Data> records = inPlace<Data>(&record, 1);
        callback_(Batch{&records, 1});
    }

    struct Recycle {
        std::unique_ptr<Queue> fmq;
        /// Deliberately never deleted: it stays mapped until the process ends.
        android::hardware::EventFlag* ef = nullptr;
        uint32_t readNotifyBit = 0;
        uint32_t dataReadyBit = 0;
    };

    android::hardware::EventFlag* evFlag_ = nullptr;
    uint32_t readNotifyBit_ = 0;
    PrepareCall prepare_;
    Callback callback_;
    std::optional<Queue> fmq_;
    android::sp<SensorClient> client_;
    Recycle recycle_;
};

}  // namespace Vek::Sensors::HidlWrapper
