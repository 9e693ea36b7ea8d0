// Logarithmic buckets, each octave cut into equal steps.
#include "latency_histogram.h"

#include <algorithm>
#include <cmath>

size_t LatencyHistogram::bucketOf(uint64_t value) {
    if (value < kSteps) {
        return value;
    }
    const unsigned octave = 63U - static_cast<unsigned>(__builtin_clzll(value));
    const unsigned shift = octave - kStepBits;
    return shift * kSteps + (value >> shift);
}

uint64_t LatencyHistogram::endOf(size_t bucket) {
    if (bucket < 2 * kSteps) {
        return bucket;
    }
    const size_t shift = bucket / kSteps - 1;
    return ((uint64_t{bucket} - shift * kSteps + 1) << shift) - 1;
}

void LatencyHistogram::add(std::chrono::nanoseconds latency) {
    // A time stamp in the future is an error of its clock, so count a latency of 0.
    const auto value = static_cast<uint64_t>(std::max<int64_t>(latency.count(), 0));
    ++buckets_[bucketOf(value)];
    ++count_;
    largest_ = std::max(largest_, value);
}

std::optional<std::chrono::nanoseconds> LatencyHistogram::percentile(double fraction) const {
    if (count_ == 0) {
        return std::nullopt;
    }
    const double wanted = std::ceil(fraction * static_cast<double>(count_));
    const uint64_t rank = std::clamp<uint64_t>(static_cast<uint64_t>(wanted), 1, count_);
    size_t bucket = 0;
    for (uint64_t seen = buckets_[0]; seen < rank; seen += buckets_[bucket]) {
        ++bucket;
    }
    return std::chrono::nanoseconds(static_cast<int64_t>(std::min(endOf(bucket), largest_)));
}
