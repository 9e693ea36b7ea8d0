// One wait that finds some of its streams ready: the others must cost nothing.
#include <fmt/format.h>
#include <vek/sensors/motion.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "foundation/hal.h"
#include "in_process/data_path.h"
#include "in_process/played_stream.h"

namespace Bench {
namespace {

using Vek::Sensors::ImuData;

/// The last ones are ready: the farthest ones for a wait that looks through all.
class ReadyStreams {
  public:
    ReadyStreams(size_t added, size_t ready)
        : first_(added - ready), bits_(((1U << ready) - 1U) << first_) {
        while (streams_.size() < added) {
            streams_.emplace_back(composite_);
        }
    }

    const void* pass() {
        for (size_t i = first_; i < streams_.size(); ++i) {
            streams_[i].publish(1);
        }
        // All bits at once, and no futex: nobody waits yet.
        streams_.front().eventFlagWord().fetch_or(bits_, std::memory_order_release);
        composite_.wait();
        return streams_.back().seen;
    }

  private:
    const size_t first_;
    const uint32_t bits_;
    Vek::Sensors::HidlWrapper::CompositeStream composite_{"benchmark"};
    std::deque<PlayedStream<ImuData, Vek::Sensors::Hidl::ImuData>> streams_;
};

std::string nameOf(size_t added, size_t ready) {
    return fmt::format("wait() with {} of {} streams ready", ready, added);
}

/// @param baseline what it is to cost no more than; without a goal if that has fewer ready
DataPath pathOf(size_t added, size_t ready, const std::string& baseline) {
    const bool isAsManyReady = baseline == nameOf(ready, ready);
    return {nameOf(added, ready), baseline,
            isAsManyReady ? std::optional(ratioOf(1.1)) : std::nullopt, ready * sizeof(ImuData),
            passesOf<ReadyStreams>(added, ready)};
}

}  // namespace

std::vector<DataPath> compositeWaitPaths() {
    return {pathOf(1, 1, ""), pathOf(15, 1, nameOf(1, 1)), pathOf(4, 4, nameOf(1, 1)),
            pathOf(15, 4, nameOf(4, 4)), pathOf(15, 15, nameOf(1, 1))};
}

}  // namespace Bench
