// What sensorctl measures of one stream.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>

#include "drop_counter.h"
#include "latency_histogram.h"
#include "rate_meter.h"

/// The part of a sample that its journey is measured by.
struct SampleHeader {
    /// CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    uint32_t sequence;
    bool isDiscontinuity;
    /// Whose count it is, of a stream that has the samples of more than one device.
    uint64_t source = 0;
};

struct StreamMeasurement {
    uint64_t records = 0;
    uint64_t callbacks = 0;
    uint64_t drops = 0;
    LatencyHistogram latencies;
    RateMeter rate;

    /// Mean records of a callback.
    double batch() const;
};

/// Measures a stream over the whole run and over the interval since restartInterval().
class StreamStatistics {
  public:
    void countCallback(RateMeter::Time now, uint64_t records);
    void countSample(RateMeter::Time now, const SampleHeader& header);
    void restartInterval();

    const StreamMeasurement& interval() const { return interval_; }
    const StreamMeasurement& total() const { return total_; }

  private:
    /// A service could make up more devices than there are; those beyond this have no drops.
    static constexpr size_t kMostSources = 64;

    /// By source.
    std::map<uint64_t, DropCounter> dropCounters_;
    StreamMeasurement interval_;
    StreamMeasurement total_;
};
