// Every count goes into two measurements: the interval's and the run's.
#include "stream_statistics.h"

#include <algorithm>

double StreamMeasurement::batch() const {
    return callbacks == 0 ? 0 : static_cast<double>(records) / static_cast<double>(callbacks);
}

void StreamStatistics::countCallback(RateMeter::Time now, uint64_t records) {
    for (StreamMeasurement* measurement : {&interval_, &total_}) {
        measurement->records += records;
        ++measurement->callbacks;
        measurement->rate.deliver(now, records);
    }
}

void StreamStatistics::countSample(RateMeter::Time now, const SampleHeader& header) {
    // The timestamp is another process's: brought to one side of now first, it cannot overflow.
    const int64_t arrival = std::chrono::nanoseconds(now.time_since_epoch()).count();
    const std::chrono::nanoseconds latency(arrival -
                                           std::clamp<int64_t>(header.timestamp, 0, arrival));
    const bool isFollowed =
        dropCounters_.size() < kMostSources || dropCounters_.count(header.source) != 0;
    const uint32_t drops =
        isFollowed ? dropCounters_[header.source].next(header.sequence, header.isDiscontinuity) : 0;
    for (StreamMeasurement* measurement : {&interval_, &total_}) {
        measurement->latencies.add(latency);
        measurement->drops += drops;
    }
}

void StreamStatistics::restartInterval() {
    RateMeter rate = interval_.rate;
    rate.restart();
    interval_ = {};
    interval_.rate = rate;
}
