// A service that moves a queue's counters, and changes the records, while the library reads: what
// is read lies inside the ring, and the process ends with the stream's own messages or not at all.
//
// An input is a list of the service's steps, which it takes again and again during some reads.
#include <vek/sensors/motion.h>

#include <atomic>
#include <thread>
#include <vector>

#include "controller/convert.h"
#include "queue.h"
#include "stream/stream_handle.h"
#include "support/queue_counters.h"
#include "support/service_end.h"

namespace {

using namespace Vek::Sensors;

constexpr size_t kCapacity = 12;  // more than are converted without the heap

struct Step {
    enum class Kind { kRead, kWritten, kMoveRead, kMoveWritten, kRecord, kMaxValue = kRecord };

    Kind kind;
    uint64_t value;
};

/// A stream whose service is played by another thread.
template <typename Data, typename HidlData>
class AttackedStream {
  public:
    AttackedStream()
        : handle_([this](const auto& queue, const auto& client, const auto& config) {
              end_.accept(queue, client, config);
              return android::hardware::Return<Hidl::Result>(Hidl::Result::SUCCESS);
          }) {
        handle_.setQueueSize(kCapacity);
        handle_.setCallbackv([this](const auto& spans) { look(spans); });
        handle_.addTo(composite_);
        memory_.emplace(*end_.queue);
        ring_ = Fuzz::ringOf(*end_.queue);
        memory_->written() = kCapacity * sizeof(HidlData);
        handle_.read();
    }

    void attack(const std::vector<Step>& steps) {
        memory_->read() = 0;
        memory_->written() = 0;
        std::atomic<bool> hasBegun{false};
        std::atomic<bool> isDone{false};
        std::thread service([&] {
            do {
                for (const Step& step : steps) {
                    take(step);
                }
                hasBegun = true;
            } while (!isDone);
        });
        while (!hasBegun) {
            std::this_thread::yield();
        }
        for (int reads = 0; reads < 100; ++reads) {
            Fuzz::mayBeFatal({"observed FMQ readPtr ahead of writePtr; check for races in caller!",
                              "observed FMQ with too many elements; check for races in caller!",
                              "failed to begin FMQ read of ", "failed to commit FMQ read of ",
                              "Unknown controller input discriminator "},
                             [&] { handle_.read(); });
            Fuzz::use(*end_.queue, ring_);
        }
        isDone = true;
        service.join();
    }

  private:
    void take(const Step& step) {
        switch (step.kind) {
            case Step::Kind::kRead:
                memory_->read() = step.value;
                break;
            case Step::Kind::kWritten:
                memory_->written() = step.value;
                break;
            case Step::Kind::kMoveRead:
                memory_->read() += step.value * sizeof(HidlData);
                break;
            case Step::Kind::kMoveWritten:
                memory_->written() += step.value * sizeof(HidlData);
                break;
            case Step::Kind::kRecord:
                std::memcpy(memory_->template records<HidlData>() + step.value % kCapacity,
                            &step.value, sizeof(step.value));
                break;
        }
    }

    void look(typename IDataStream<Data>::Batch spans) {
        // The first ones are all there are.
        if (!HidlWrapper::kIsConverted<Data> && seen_.empty()) {
            seen_ = spans[0];
        }
        size_t count = 0;
        for (const auto& span : spans) {
            const Data* const end = span.data() + span.size();
            VEK_ALWAYS_ASSERT(seen_.empty() || span.empty() ||
                              (span.data() >= &seen_[0] && end <= &seen_[0] + seen_.size()));
            for (auto* byte = reinterpret_cast<const volatile char*>(span.data());
                 byte != reinterpret_cast<const volatile char*>(end); ++byte) {
                static_cast<void>(*byte);
            }
            count += span.size();
        }
        VEK_ALWAYS_ASSERT(count > 0 && count <= kCapacity);
    }

    HidlWrapper::CompositeStream composite_{"attacked"};
    TestSupport::ServiceEnd<HidlData> end_;
    HidlWrapper::StreamHandle<Data, HidlData> handle_;
    std::optional<TestSupport::QueueCounters> memory_;
    typename TestSupport::ServiceEnd<HidlData>::Queue::MemRegion ring_;
    /// The ring as the client sees it, if records are not converted.
    gsl::span<const Data> seen_;
};

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static AttackedStream<ImuData, Hidl::ImuData> direct;
    static AttackedStream<ControllerInputData, Hidl::ControllerInputData> converted;
    FuzzedDataProvider input{data, size};
    const bool isConverted = input.ConsumeBool();
    std::vector<Step> steps;
    while (input.remaining_bytes() > 0 && steps.size() < 64) {
        const auto kind = input.ConsumeEnum<Step::Kind>();
        const uint64_t most = input.ConsumeBool() ? UINT64_MAX : kCapacity;
        steps.push_back({kind, input.ConsumeIntegralInRange<uint64_t>(0, most)});
    }
    isConverted ? converted.attack(steps) : direct.attack(steps);
    return 0;
}
