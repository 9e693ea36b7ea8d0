// A stream of the library whose service is played in the same process, at next to no cost.
#pragma once

#include <fmq/SharedMapping.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "in_process/data_path.h"
#include "stream/composite_stream.h"
#include "stream/stream_handle.h"
#include "support/queue_counters.h"
#include "support/service_end.h"

namespace Bench {

/// Records are in the queue already; moving the writer's counter makes them appear. The client
/// touches them.
template <typename Data, typename HidlData>
class PlayedStream {
  public:
    using Handle = Vek::Sensors::HidlWrapper::StreamHandle<Data, HidlData>;

    /// @param start where in the ring the first record lies
    explicit PlayedStream(Vek::Sensors::ICompositeStream& composite,
                          size_t queueSize = Handle::kDefaultQueueSize, size_t start = 0)
        : handle([this](const auto& queue, const auto& client, const auto& config) {
              end_.accept(queue, client, config);
              word_ = android::hardware::details::mapShared(config.eventFlag->data[0], 0,
                                                            sizeof(uint32_t));
              return android::hardware::Return<Vek::Sensors::Hidl::Result>(
                  Vek::Sensors::Hidl::Result::SUCCESS);
          }),
          written_(start * sizeof(HidlData)) {
        handle.setCallbackv(touchAll);
        handle.setQueueSize(queueSize);
        handle.addTo(composite);
        memory_ = std::make_unique<TestSupport::QueueCounters>(*end_.queue);
        memory_->read().store(written_);
        publish(0);
    }
    PlayedStream(const PlayedStream&) = delete;
    PlayedStream& operator=(const PlayedStream&) = delete;

    void publish(size_t count) {
        written_ += count * sizeof(HidlData);
        memory_->written().store(written_, std::memory_order_release);
    }

    /// As a service does that has its records elsewhere.
    void write(const HidlData& record) { end_.queue->write(&record); }

    HidlData* records() { return memory_->template records<HidlData>(); }
    std::atomic<uint32_t>& eventFlagWord() {
        return *static_cast<std::atomic<uint32_t>*>(word_.get());
    }

    Handle handle;
    const Data* seen = nullptr;
    const std::function<void(typename Vek::Sensors::IDataStream<Data>::Batch)> touchAll =
        [this](typename Vek::Sensors::IDataStream<Data>::Batch spans) {
            for (const auto& span : spans) {
                touch(span.data(), span.size());
            }
            seen = spans[0].data();
        };

  private:
    TestSupport::ServiceEnd<HidlData> end_;
    std::unique_ptr<TestSupport::QueueCounters> memory_;
    android::hardware::details::SharedMapping word_;
    uint64_t written_;
};

/// A stream that delivers batch after batch.
template <typename Data, typename HidlData>
class PlayedBatches {
  public:
    template <typename... PlayedStreamArguments>
    explicit PlayedBatches(size_t batch, PlayedStreamArguments... arguments)
        : batch_(batch), stream_(composite_, arguments...) {}

    const void* pass() {
        stream_.publish(batch_);
        stream_.handle.read();
        return stream_.seen;
    }

  private:
    const size_t batch_;
    Vek::Sensors::HidlWrapper::CompositeStream composite_{"benchmark"};
    PlayedStream<Data, HidlData> stream_;
};

}  // namespace Bench
