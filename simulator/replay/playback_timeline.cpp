// Maps times of the recording to times of its playback.
#include "replay/playback_timeline.h"

#include <chrono>
#include <utility>

#include "time_units.h"

namespace Simulator {
namespace {

/// Pause between the last record of a pass and the first of the next.
constexpr std::chrono::milliseconds kPause{10};

}  // namespace

PlaybackTimeline::PlaybackTimeline(std::shared_ptr<WorldClock> clock, int64_t begin, int64_t end,
                                   bool isLooped, bool areTimestampsKept)
    : clock_(std::move(clock)),
      begin_(begin),
      end_(end),
      isLooped_(isLooped),
      areTimestampsKept_(areTimestampsKept) {}

void PlaybackTimeline::start() {
    const std::lock_guard lock{mutex_};
    if (!start_) {
        start_ = clock_->isPacedByClients() ? clock_->start() : clock_->now();
    }
}

WorldClock::Time PlaybackTimeline::timeOf(int64_t recorded, uint32_t pass) const {
    const std::lock_guard lock{mutex_};
    return *start_ + std::chrono::nanoseconds(recorded - begin_) +
           pass * (std::chrono::nanoseconds(end_ - begin_) + kPause);
}

int64_t PlaybackTimeline::shift(uint32_t pass) const {
    return areTimestampsKept_ ? 0 : toNanoseconds(timeOf(begin_, pass)) - begin_;
}

}  // namespace Simulator
