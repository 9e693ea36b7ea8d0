// The rate of a stream whose records come in batches, and the longest time without any.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

/// Measures from callback to callback, so that the rate does not depend on how many batches happen
/// to fall between two looks at it.
class RateMeter {
  public:
    using Time = std::chrono::steady_clock::time_point;

    void deliver(Time now, uint64_t records);

    /// Rate in records per second. If the stream has been silent for longer than between batches,
    /// it is measured up to `now`.
    double perSecond(Time now) const;

    /// The longest time from one callback to the next; the time since the last one, up to `now`, if
    /// that is longer. Empty before the first.
    std::optional<std::chrono::nanoseconds> largestGap(Time now) const;

    /// Starts a new measurement at the last callback.
    void restart();

  private:
    std::optional<Time> begin_;
    Time last_{};
    std::chrono::nanoseconds largestGap_{0};
    uint64_t records_ = 0;
    uint64_t callbacks_ = 0;
};
