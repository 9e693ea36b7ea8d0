// What sensorctl makes of the samples that arrive: latencies, drops, rates.
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "drop_counter.h"
#include "latency_histogram.h"
#include "rate_meter.h"
#include "stream_statistics.h"

namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

constexpr RateMeter::Time kBegin{1h};

TEST(LatencyHistogramTest, PercentilesOfSmallLatenciesAreExact) {
    LatencyHistogram histogram;
    for (int latency = 1; latency <= 60; ++latency) {
        histogram.add(nanoseconds(latency));
    }
    EXPECT_EQ(histogram.percentile(0), 1ns);
    EXPECT_EQ(histogram.percentile(0.5), 30ns);
    EXPECT_EQ(histogram.percentile(0.99), 60ns);
}

TEST(LatencyHistogramTest, EveryMagnitudeIsFoundAgainWithinOneStep) {
    for (unsigned bit = 0; bit < 63; ++bit) {
        for (const int64_t offset : {-1, 0, 1}) {
            const int64_t latency = (int64_t{1} << bit) + offset;
            LatencyHistogram histogram;
            histogram.add(nanoseconds(latency));
            // The larger one keeps the bucket's end from being cut off at the largest latency.
            histogram.add(nanoseconds::max());
            const int64_t found = histogram.percentile(0.5)->count();
            EXPECT_GE(found, latency);
            EXPECT_LE(found - latency, latency / 32);
            EXPECT_EQ(histogram.percentile(1), nanoseconds::max());
        }
    }
}

TEST(DropCounterTest, CountsGapsAndMarksButNoBeginning) {
    struct Step {
        uint32_t sequence;
        bool isMarked;
        uint32_t drops;
    };
    const std::vector<Step> runs[] = {
        // The first number only begins the count; it goes on across the wrap of the numbers.
        {{UINT32_MAX - 1, false, 0}, {UINT32_MAX, false, 0}, {0, false, 0}, {4, false, 3}},
        // A mark counts once and not on top of its gap.
        {{7, true, 1}, {8, true, 1}, {11, true, 2}},
        // A sensor that counts anew lost nothing.
        {{1000, false, 0}, {0, false, 0}, {0, false, 0}, {2, false, 1}},
    };
    for (const auto& run : runs) {
        DropCounter counter;
        for (const Step& step : run) {
            EXPECT_EQ(counter.next(step.sequence, step.isMarked), step.drops) << step.sequence;
        }
    }
}

TEST(RateMeterTest, RateDoesNotDependOnWhereTheBatchesFall) {
    RateMeter meter;
    EXPECT_EQ(meter.perSecond(kBegin), 0);
    for (int batch = 0; batch <= 9; ++batch) {
        meter.deliver(kBegin + batch * 100ms, 10);
    }
    EXPECT_DOUBLE_EQ(meter.perSecond(kBegin + 901ms), 100);
    EXPECT_DOUBLE_EQ(meter.perSecond(kBegin + 999ms), 100);
    meter.restart();
    EXPECT_EQ(meter.perSecond(kBegin + 999ms), 0);
    meter.deliver(kBegin + 1000ms, 10);
    EXPECT_DOUBLE_EQ(meter.perSecond(kBegin + 1000ms), 100);
}

TEST(RateMeterTest, GapIsTheLongestTimeWithoutRecordsAndTheOneThatGoesOn) {
    RateMeter meter;
    EXPECT_FALSE(meter.largestGap(kBegin));
    for (const auto time : {0ms, 10ms, 40ms, 50ms}) {
        meter.deliver(kBegin + time, 1);
    }
    EXPECT_EQ(meter.largestGap(kBegin + 60ms), 30ms);
    EXPECT_EQ(meter.largestGap(kBegin + 100ms), 50ms);
    meter.restart();
    EXPECT_EQ(meter.largestGap(kBegin + 60ms), 10ms) << "of the new interval alone";
}

TEST(StreamStatisticsTest, AnIntervalBeginsAnewAndTheRunGoesOn) {
    StreamStatistics statistics;
    statistics.countCallback(kBegin, 2);
    statistics.countSample(kBegin, {0, 1, false});
    statistics.countSample(kBegin, {0, 3, false});
    statistics.restartInterval();
    statistics.countCallback(kBegin + 1ms, 1);
    statistics.countSample(kBegin + 1ms, {0, 5, false});
    EXPECT_EQ(statistics.interval().records, 1U);
    EXPECT_EQ(statistics.interval().drops, 1U) << "the numbers go on across intervals";
    EXPECT_EQ(statistics.interval().latencies.count(), 1U);
    EXPECT_DOUBLE_EQ(statistics.interval().rate.perSecond(kBegin + 1ms), 1000);
    EXPECT_EQ(statistics.total().records, 3U);
    EXPECT_EQ(statistics.total().drops, 2U);
    EXPECT_DOUBLE_EQ(statistics.total().batch(), 1.5);
}

TEST(StreamStatisticsTest, AnAbsurdTimestampOfTheServiceDoesNotOverflow) {
    StreamStatistics statistics;
    statistics.countSample(kBegin, {std::numeric_limits<int64_t>::max(), 0, false});
    EXPECT_EQ(statistics.total().latencies.percentile(1), 0ns) << "a record from the future";
    statistics.countSample(kBegin, {std::numeric_limits<int64_t>::min(), 1, false});
    EXPECT_EQ(statistics.total().latencies.percentile(1), nanoseconds(1h));
}

}  // namespace
