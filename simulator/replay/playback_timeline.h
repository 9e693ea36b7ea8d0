// Computes when the records of a recording are due during its playback.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "world_clock.h"

namespace Simulator {

/// All streams of a recording are played along one timeline, which begins when the first of them is
/// started. Times of the recording are in ns of its own clock.
///
/// Threading: every method may be called from any thread.
class PlaybackTimeline {
  public:
    /// @param begin first instant that is played
    /// @param end time of the last record; greater than `begin`
    PlaybackTimeline(std::shared_ptr<WorldClock> clock, int64_t begin, int64_t end, bool isLooped,
                     bool areTimestampsKept);

    WorldClock& clock() const { return *clock_; }
    const std::shared_ptr<WorldClock>& sharedClock() const { return clock_; }
    int64_t begin() const { return begin_; }
    bool isLooped() const { return isLooped_; }

    /// Begins the timeline now, unless it has begun before.
    void start();

    // Only after start().

    /// @param pass counts the repetitions from 0
    WorldClock::Time timeOf(int64_t recorded, uint32_t pass) const;
    /// Offset to add to the recorded times of a record, in ns.
    int64_t shift(uint32_t pass) const;

  private:
    const std::shared_ptr<WorldClock> clock_;
    const int64_t begin_;
    const int64_t end_;
    const bool isLooped_;
    const bool areTimestampsKept_;
    mutable std::mutex mutex_;  // guards what follows
    std::optional<WorldClock::Time> start_;
};

}  // namespace Simulator
