// Counts everything twice: for the current interval and for the whole run.
#include "stream_statistics.h"

#include <algorithm>

double StreamMeasurement::batch() const {
    return callbacks == 0 ? 0 : static_cast<double>(records) / static_cast<double>(callbacks);
}

void SourceStatistics::countRecord(RateMeter::Time now, const RecordOrigin& origin,
                                   uint64_t bytes) {
    ++pending_;
    std::optional<uint32_t> drops;
    if (origin.sequence) {
        drops = dropCounter_.next(*origin.sequence, origin.isDiscontinuity);
    }
    for (StreamMeasurement* measurement : {&interval_, &total_}) {
        ++measurement->records;
        measurement->bytes += bytes;
        if (drops) {
            measurement->drops = measurement->drops.value_or(0) + *drops;
        }
    }
    if (!origin.timestamp) {
        return;
    }
    // The time stamp comes from another process, so it is clamped first to avoid overflow.
    const int64_t arrival = std::chrono::nanoseconds(now.time_since_epoch()).count();
    const int64_t timestamp = std::clamp<int64_t>(*origin.timestamp, 0, arrival);
    for (StreamMeasurement* measurement : {&interval_, &total_}) {
        measurement->latencies.add(std::chrono::nanoseconds(arrival - timestamp));
        if (lastTimestamp_) {
            measurement->intervals.add(std::chrono::nanoseconds(timestamp - *lastTimestamp_));
        }
    }
    lastTimestamp_ = timestamp;
}

void SourceStatistics::endCallback(RateMeter::Time now) {
    if (pending_ == 0) {
        return;
    }
    for (StreamMeasurement* measurement : {&interval_, &total_}) {
        ++measurement->callbacks;
        measurement->rate.deliver(now, pending_);
    }
    pending_ = 0;
}

void SourceStatistics::restartInterval() {
    RateMeter rate = interval_.rate;
    rate.restart();
    interval_ = {};
    interval_.rate = rate;
}

uint64_t StreamStatistics::countRecord(RateMeter::Time now, RecordOrigin origin, uint64_t bytes) {
    if (sources_.size() >= kMostSources && sources_.count(origin.source) == 0) {
        origin.source = kOthers;
        // Sequence numbers of mixed sources are meaningless.
        origin.sequence.reset();
    }
    sources_[origin.source].countRecord(now, origin, bytes);
    return origin.source;
}

void StreamStatistics::endCallback(RateMeter::Time now) {
    for (auto& [source, statistics] : sources_) {
        statistics.endCallback(now);
    }
}

void StreamStatistics::restartInterval() {
    for (auto& [source, statistics] : sources_) {
        statistics.restartInterval();
    }
}

uint64_t StreamStatistics::drops() const {
    uint64_t drops = 0;
    for (const auto& [source, statistics] : sources_) {
        drops += statistics.total().drops.value_or(0);
    }
    return drops;
}
