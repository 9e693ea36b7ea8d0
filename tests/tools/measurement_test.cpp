// What sensorctl makes of the samples that arrive: latencies, drops, rates.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "drop_counter.h"
#include "expectation.h"
#include "failure.h"
#include "interval_statistics.h"
#include "latency_histogram.h"
#include "rate_meter.h"
#include "sensor_stream.h"
#include "stream_statistics.h"

namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using ::testing::ElementsAre;

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

TEST(LatencyHistogramTest, PercentilesOfEveryMagnitudeAreExactToOneStep) {
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

TEST(RateMeterTest, LargestGapIncludesTheCurrentOne) {
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

TEST(IntervalStatisticsTest, SpreadIsThatOfTheIntervals) {
    IntervalStatistics statistics;
    for (const auto interval : {2ms, 4ms, 4ms, 4ms, 5ms, 5ms, 7ms, 9ms}) {
        statistics.add(interval + 1h);
    }
    EXPECT_EQ(statistics.shortest(), 1h + 2ms);
    EXPECT_EQ(statistics.longest(), 1h + 9ms);
    EXPECT_NEAR(static_cast<double>(statistics.standardDeviation().count()), 2.13809e6, 10);
}

TEST(StreamStatisticsTest, RestartingTheIntervalDoesNotAffectTheRun) {
    SourceStatistics statistics;
    statistics.countRecord(kBegin, {0, 10'000'000, 1, false}, 100);
    statistics.countRecord(kBegin, {0, 12'000'000, 3, false}, 100);
    statistics.endCallback(kBegin);
    statistics.restartInterval();
    statistics.countRecord(kBegin + 1ms, {0, 15'000'000, 5, false}, 100);
    statistics.endCallback(kBegin + 1ms);
    EXPECT_EQ(statistics.interval().records, 1U);
    EXPECT_EQ(statistics.interval().drops, 1U) << "the numbers go on across intervals";
    EXPECT_EQ(statistics.interval().latencies.count(), 1U);
    EXPECT_EQ(statistics.interval().intervals.shortest(), 3ms);
    EXPECT_DOUBLE_EQ(statistics.interval().rate.perSecond(kBegin + 1ms), 1000);
    EXPECT_EQ(statistics.total().records, 3U);
    EXPECT_EQ(statistics.total().drops, 2U);
    EXPECT_EQ(statistics.total().bytes, 300U);
    EXPECT_EQ(statistics.total().intervals.count(), 2U);
    EXPECT_DOUBLE_EQ(statistics.total().batch(), 1.5);
}

TEST(StreamStatisticsTest, AnAbsurdTimestampOfTheServiceDoesNotOverflow) {
    SourceStatistics statistics;
    statistics.countRecord(kBegin, {0, std::numeric_limits<int64_t>::max(), 0, false}, 1);
    EXPECT_EQ(statistics.total().latencies.percentile(1), 0ns) << "a record from the future";
    statistics.countRecord(kBegin, {0, std::numeric_limits<int64_t>::min(), 1, false}, 1);
    EXPECT_EQ(statistics.total().latencies.percentile(1), nanoseconds(1h));
    EXPECT_EQ(statistics.total().intervals.shortest(), nanoseconds(-1h));
}

TEST(StreamStatisticsTest, EverySourceIsMeasuredOnItsOwnUpToABound) {
    StreamStatistics statistics;
    for (const auto& [source, sequence] : {std::pair{1U, 100U}, {2U, 7U}, {1U, 101U}, {2U, 10U}}) {
        statistics.countRecord(kBegin, {source, 0, sequence, false}, 1);
    }
    statistics.endCallback(kBegin);
    EXPECT_EQ(statistics.sources().at(1).total().drops, 0U);
    EXPECT_EQ(statistics.sources().at(2).total().drops, 2U);
    EXPECT_EQ(statistics.sources().at(2).total().batch(), 2);
    for (uint64_t source = 3; source < 1000; ++source) {
        statistics.countRecord(kBegin, {source, 0, 0, true}, 1);
    }
    const auto& sources = statistics.sources();
    EXPECT_EQ(sources.size(), StreamStatistics::kMostSources + 1);
    EXPECT_EQ(sources.at(StreamStatistics::kOthers).total().drops, std::nullopt);
}

/// A stream of which `statistics` is all that is known.
class MeasuredStream : public SensorStream {
  public:
    using SensorStream::SensorStream;
    void addTo(Vek::Sensors::ICompositeStream& /*composite*/) override {}
    void start() override {}
    void stop() override {}
    std::string titles() const override { return ""; }
    void recordTo(Recording::Recorder& /*recorder*/, size_t /*number*/,
                  size_t /*firstCamera*/) override {}
    void printTo(RecordPrinter& /*printer*/) override {}
    std::string lastValues(uint64_t /*source*/) const override { return ""; }
};

TEST(ExpectationTest, EveryRowIsCheckedAgainstEveryLimit) {
    SensorStreams streams;
    streams.push_back(std::make_unique<MeasuredStream>("controller-imu"));
    streams.back()->setKind("controller-imu");
    streams.push_back(std::make_unique<MeasuredStream>("iad"));
    streams.back()->setKind("iad");
    for (int batch = 0; batch <= 10; ++batch) {
        for (const uint64_t controller : {1U, 2U}) {
            const auto sequence = static_cast<uint32_t>(batch) * static_cast<uint32_t>(controller);
            const int64_t timestamp = batch * 10'000'000;
            streams[0]->statistics().countRecord(kBegin, {controller, timestamp, sequence, false},
                                                 64);
        }
        streams[0]->statistics().endCallback(kBegin + batch * 10ms);
    }
    const auto verdictsOn = [&streams](const std::string& text) {
        std::vector<std::string> failed;
        for (const auto& verdict : judge(parseExpectations(text), streams, kBegin + 100ms)) {
            if (!verdict.isMet) {
                failed.push_back(fmt::format("{} {} {} {}", verdict.stream, verdict.controller,
                                             verdict.expectation, verdict.actual));
            }
        }
        return failed;
    };
    EXPECT_THAT(verdictsOn("controller-i:rate>=99.9,rate<=100.1,gap<10.1ms,gap<0.0101s,max=10ms"),
                ElementsAre());
    EXPECT_THAT(verdictsOn("Controller-IMU:drops=0,gap<10ms"),
                ElementsAre("controller-imu 0x2 drops=0 10", "controller-imu 0x1 gap<10ms 10.00ms",
                            "controller-imu 0x2 gap<10ms 10.00ms"));
    EXPECT_THAT(verdictsOn("iad:gap<1s,drops=0,records>0"),
                ElementsAre("iad  gap<1s unknown", "iad  drops=0 unknown", "iad  records>0 0"));
    for (const char* malformed :
         {"imu", "imu:", "imu:rate", "imu:rate~5", "imu:rate>=", "imu:gap<5", "imu:rate<5ms",
          "imu:rate=nan", "camera:rate>5", "imu:speed>5", "imu:rate=<5", "imu:rate>5x"}) {
        EXPECT_THROW(parseExpectations(malformed), Failure) << malformed;
    }
}

}  // namespace
