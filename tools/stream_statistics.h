// The measurements of one stream.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>

#include "drop_counter.h"
#include "interval_statistics.h"
#include "latency_histogram.h"
#include "rate_meter.h"
#include "record_origin.h"

struct StreamMeasurement {
    uint64_t records = 0;
    uint64_t callbacks = 0;
    /// Empty if the records have no sequence numbers.
    std::optional<uint64_t> drops;
    uint64_t bytes = 0;
    LatencyHistogram latencies;
    /// From one record's timestamp to the next's.
    IntervalStatistics intervals;
    RateMeter rate;

    /// Mean number of records per callback.
    double batch() const;
};

/// Measures the records of one source over the whole run and over the interval since
/// restartInterval().
class SourceStatistics {
  public:
    void countRecord(RateMeter::Time now, const RecordOrigin& origin, uint64_t bytes);

    /// After the records of one callback.
    void endCallback(RateMeter::Time now);

    void restartInterval();

    const StreamMeasurement& interval() const { return interval_; }
    const StreamMeasurement& total() const { return total_; }

  private:
    DropCounter dropCounter_;
    std::optional<int64_t> lastTimestamp_;
    /// Records of the current callback so far.
    uint64_t pending_ = 0;
    StreamMeasurement interval_;
    StreamMeasurement total_;
};

/// Measures each source of a stream on its own.
class StreamStatistics {
  public:
    /// Limits memory: a service could invent any number of devices. Further sources are measured
    /// together, as kOthers.
    static constexpr size_t kMostSources = 64;
    static constexpr uint64_t kOthers = UINT64_MAX;

    /// @return the source for which the record was counted.
    uint64_t countRecord(RateMeter::Time now, RecordOrigin origin, uint64_t bytes);
    void endCallback(RateMeter::Time now);
    void restartInterval();

    /// By source.
    const std::map<uint64_t, SourceStatistics>& sources() const { return sources_; }

    /// Drops of all sources in the whole run.
    uint64_t drops() const;

  private:
    std::map<uint64_t, SourceStatistics> sources_;
};
