// The records that the library writes: frame sets, which go back to the service, and poses.
#include <vek/sensors/controller_state.h>
#include <vek/sensors/frame_set.h>

#include <atomic>
#include <memory>
#include <vector>

#include "camera/dual_stream_handle.h"
#include "controller/output_stream_handle.h"
#include "in_process/data_path.h"
#include "support/queue_counters.h"
#include "support/service_end.h"

namespace Bench {
namespace {

namespace Hidl = Vek::Sensors::Hidl;
using android::hardware::Return;
using Vek::Sensors::FrameSet;
using Vek::Sensors::PoseOutput;

/// A queue that the service has made; it takes out what the library writes.
template <typename Record>
class ServiceQueue {
  public:
    using Queue = typename TestSupport::ServiceEnd<Record>::Queue;

    /// @param answer the library's function that takes the queue
    template <typename Answer>
    Return<void> handTo(const Answer& answer) {
        answer(Hidl::Result::SUCCESS, *queue_.getDesc(), {flag_, 1U << 0, 1U << 1});
        return android::hardware::Void();
    }
    void takeOne() { counters_.read().fetch_add(sizeof(Record), std::memory_order_release); }

  private:
    Queue queue_{2};
    TestSupport::QueueCounters counters_{queue_};
    const android::hardware::hidl_handle flag_ = Vek::OS::createEventFlagHandle("benchmark");
};

class FrameSets {
  public:
    FrameSets() {
        handle_.setCallbackv([this](auto spans) {
            touch(spans[0].data(), spans[0].size());
            seen_ = spans[0].data();
        });
        handle_.addTo(composite_);
        counters_ = std::make_unique<TestSupport::QueueCounters>(*end_.queue);
    }

    const void* pass() {
        counters_->written().fetch_add(sizeof(Hidl::FrameSet), std::memory_order_release);
        handle_.read();
        recycled_.takeOne();
        return seen_;
    }

  private:
    Vek::Sensors::HidlWrapper::CompositeStream composite_{"benchmark"};
    TestSupport::ServiceEnd<Hidl::FrameSet> end_;
    ServiceQueue<Hidl::FrameSet> recycled_;
    Vek::Sensors::HidlWrapper::DualStreamHandle<FrameSet, Hidl::FrameSet> handle_{
        [this](const auto& client, const auto& queue, const auto& config, const auto& answer) {
            end_.accept(queue, client, config);
            return recycled_.handTo(answer);
        },
        "benchmark"};
    std::unique_ptr<TestSupport::QueueCounters> counters_;
    const void* seen_ = nullptr;
};

class Poses {
  public:
    Poses() {
        handle_.prepareStream();
        handle_.start();
    }

    const void* pass() {
        const bool isSent = handle_.send({&pose_, 1});
        poses_.takeOne();
        return isSent ? &pose_ : nullptr;
    }

  private:
    ServiceQueue<Hidl::PoseOutput> poses_;
    Vek::Sensors::HidlWrapper::OutputStreamHandle<PoseOutput, Hidl::PoseOutput, 1> handle_{
        "pose",
        [](const auto& /*client*/, Hidl::StreamCommand /*command*/) {
            return Return<Hidl::Result>(Hidl::Result::SUCCESS);
        },
        [this](const auto& /*client*/, const auto& answer) { return poses_.handTo(answer); }};
    PoseOutput pose_{};
};

}  // namespace

std::vector<DataPath> writtenRecordPaths() {
    constexpr auto kCountsAlone = DataPath::Figure::kCountsAlone;
    return {
        {"FrameSet, seen and recycled",
         "",
         {},
         sizeof(FrameSet),
         passesOf<FrameSets>(),
         kCountsAlone},
        {"PoseOutput, sent", "", {}, sizeof(PoseOutput), passesOf<Poses>(), kCountsAlone},
    };
}

}  // namespace Bench
