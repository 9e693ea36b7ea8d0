// A service that changes a queue's counters and records while the library reads it, or writes into
// a queue of the service: the library must stay inside the ring, and may end the process only with
// the stream's own messages.
//
// An input is a list of the service's steps, which it takes again and again during some reads.
#include <vek/sensors/camera.h>
#include <vek/sensors/motion.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <optional>
#include <thread>
#include <vector>

#include "camera/dual_stream_handle.h"
#include "controller/convert.h"
#include "controller/output_stream_handle.h"
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

/// A queue whose other end, a service, is played by another thread.
template <typename HidlData>
class AttackedQueue {
  public:
    using Queue = typename TestSupport::ServiceEnd<HidlData>::Queue;

    /// @param queue outlives this; empty
    explicit AttackedQueue(Queue& queue)
        : queue_(queue), memory_(queue), ring_(Fuzz::ringOf(queue)) {}

    TestSupport::QueueCounters& memory() { return memory_; }

    /// @param fatal beginnings of the messages with which `use` may end the process
    /// @param use the library's part; called again and again
    template <typename Use>
    void attack(const std::vector<Step>& steps, std::initializer_list<const char*> fatal,
                const Use& use) {
        memory_.read() = 0;
        memory_.written() = 0;
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
        for (int uses = 0; uses < 100; ++uses) {
            Fuzz::mayBeFatal(fatal, use);
            Fuzz::use(queue_, ring_);
        }
        isDone = true;
        service.join();
    }

  private:
    void take(const Step& step) {
        switch (step.kind) {
            case Step::Kind::kRead:
                memory_.read() = step.value;
                break;
            case Step::Kind::kWritten:
                memory_.written() = step.value;
                break;
            case Step::Kind::kMoveRead:
                memory_.read() += step.value * sizeof(HidlData);
                break;
            case Step::Kind::kMoveWritten:
                memory_.written() += step.value * sizeof(HidlData);
                break;
            case Step::Kind::kRecord:
                std::memcpy(
                    memory_.template records<HidlData>() + step.value % queue_.getQuantumCount(),
                    &step.value, sizeof(step.value));
                break;
        }
    }

    Queue& queue_;
    TestSupport::QueueCounters memory_;
    const typename Queue::MemRegion ring_;
};

/// A stream that the service writes.
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
        queue_.emplace(*end_.queue);
        queue_->memory().written() = kCapacity * sizeof(HidlData);
        handle_.read();
    }

    void attack(const std::vector<Step>& steps) {
        queue_->attack(steps,
                       {"observed FMQ readPtr ahead of writePtr; check for races in caller!",
                        "observed FMQ with too many elements; check for races in caller!",
                        "failed to begin FMQ read of ", "failed to commit FMQ read of ",
                        "Unknown controller input discriminator "},
                       [this] { handle_.read(); });
    }

  private:
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
    std::optional<AttackedQueue<HidlData>> queue_;
    /// The ring as the client sees it, if records are not converted.
    gsl::span<const Data> seen_;
};

/// A queue that the service has made, for the client to write.
template <typename HidlData>
struct ServicesQueue {
    Hidl::FmqConfig config{Vek::OS::createEventFlagHandle("attacked"), 1U << 5, 1U << 6};
    typename AttackedQueue<HidlData>::Queue queue{kCapacity};
    AttackedQueue<HidlData> attacked{queue};
};

/// Frame sets that are handed back.
class AttackedRecycling {
  public:
    AttackedRecycling() {
        handle_.setCallbackv([](const auto& /*spans*/) {});
        handle_.addTo(composite_);
    }

    void attack(const std::vector<Step>& steps) {
        const std::vector<Hidl::FrameSet> frameSet(1);
        recycle_.attacked.attack(steps, {"Failed to write to recycle FMQ"}, [&] {
            VEK_ALWAYS_ASSERT(end_.write(frameSet));
            handle_.read();
        });
    }

  private:
    HidlWrapper::CompositeStream composite_{"attacked"};
    TestSupport::ServiceEnd<Hidl::FrameSet> end_;
    ServicesQueue<Hidl::FrameSet> recycle_;
    HidlWrapper::DualStreamHandle<FrameSet, Hidl::FrameSet> handle_{
        [this](const auto& client, const auto& queue, const auto& config, const auto& answer) {
            end_.accept(queue, client, config);
            answer(Hidl::Result::SUCCESS, *recycle_.queue.getDesc(), recycle_.config);
            return android::hardware::Void();
        },
        "attacked"};
};

class AttackedPoses {
  public:
    AttackedPoses() {
        handle_.prepareStream();
        handle_.start();
    }

    void attack(const std::vector<Step>& steps) {
        const std::vector<PoseOutput> poses(3);  // one more than is sent at once
        const auto send = [&] { handle_.send(poses); };
        // A service that does nothing only leaves no room.
        if (steps.empty()) {
            poses_.attacked.attack(steps, {}, send);
        } else {
            poses_.attacked.attack(steps, {"failed writing to pose stream"}, send);
        }
    }

  private:
    ServicesQueue<Hidl::PoseOutput> poses_;
    HidlWrapper::OutputStreamHandle<PoseOutput, Hidl::PoseOutput, 2> handle_{
        "pose",
        [](const auto& /*client*/, Hidl::StreamCommand /*command*/) {
            return android::hardware::Return<Hidl::Result>(Hidl::Result::SUCCESS);
        },
        [this](const auto& /*client*/, const auto& answer) {
            answer(Hidl::Result::SUCCESS, *poses_.queue.getDesc(), poses_.config);
            return android::hardware::Void();
        }};
};

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static AttackedStream<ImuData, Hidl::ImuData> direct;
    static AttackedStream<ControllerInputData, Hidl::ControllerInputData> converted;
    static AttackedRecycling recycling;
    static AttackedPoses poses;
    constexpr void (*kAttacks[])(const std::vector<Step>&) = {
        [](const auto& steps) { direct.attack(steps); },
        [](const auto& steps) { converted.attack(steps); },
        [](const auto& steps) { recycling.attack(steps); },
        [](const auto& steps) { poses.attack(steps); },
    };
    FuzzedDataProvider input{data, size};
    const auto attack = input.PickValueInArray(kAttacks);
    std::vector<Step> steps;
    while (input.remaining_bytes() > 0 && steps.size() < 64) {
        const auto kind = input.ConsumeEnum<Step::Kind>();
        const uint64_t most = input.ConsumeBool() ? UINT64_MAX : kCapacity;
        steps.push_back({kind, input.ConsumeIntegralInRange<uint64_t>(0, most)});
    }
    attack(steps);
    return 0;
}
