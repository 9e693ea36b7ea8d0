// A histogram of latencies in fixed memory.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

/// Counts latencies in buckets that are exact up to 63 ns and at most 1/32 of their value wide
/// above, up to the largest 64-bit value. Adding is a few instructions and never allocates.
class LatencyHistogram {
  public:
    void add(std::chrono::nanoseconds latency);

    uint64_t count() const { return count_; }

    /// The latency that `fraction` (0 to 1) of all latencies do not exceed, rounded up to the end
    /// of its bucket; empty if there are none.
    std::optional<std::chrono::nanoseconds> percentile(double fraction) const;

  private:
    static constexpr unsigned kStepBits = 5;
    static constexpr size_t kSteps = size_t{1} << kStepBits;
    static constexpr size_t kBuckets = (64 - kStepBits + 1) * kSteps;

    static size_t bucketOf(uint64_t value);
    static uint64_t endOf(size_t bucket);

    std::array<uint64_t, kBuckets> buckets_{};
    uint64_t count_ = 0;
    uint64_t largest_ = 0;
};
