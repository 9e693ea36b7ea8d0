// The regularity of a stream's records.
#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>

/// Shortest, longest and spread of the intervals between records, in fixed memory.
class IntervalStatistics {
  public:
    using Nanoseconds = std::chrono::nanoseconds;

    void add(Nanoseconds interval) {
        shortest_ = count_ == 0 ? interval : std::min(shortest_, interval);
        longest_ = count_ == 0 ? interval : std::max(longest_, interval);
        ++count_;
        // Welford's algorithm, because a sum of squares would lose precision by cancellation.
        const double value = static_cast<double>(interval.count());
        const double deviation = value - mean_;
        mean_ += deviation / static_cast<double>(count_);
        squares_ += deviation * (value - mean_);
    }

    /// Number of intervals; if it is zero, the other values are meaningless.
    uint64_t count() const { return count_; }
    Nanoseconds shortest() const { return shortest_; }
    Nanoseconds longest() const { return longest_; }

    Nanoseconds standardDeviation() const {
        const double variance = count_ < 2 ? 0 : squares_ / static_cast<double>(count_ - 1);
        return Nanoseconds(std::llround(std::sqrt(variance)));
    }

  private:
    uint64_t count_ = 0;
    Nanoseconds shortest_{0};
    Nanoseconds longest_{0};
    double mean_ = 0;
    double squares_ = 0;
};
