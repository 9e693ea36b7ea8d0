// The samplers' clocks, and what they can be configured to.
#include "sampler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "motion/sensor_services.h"

namespace {

using namespace std::chrono_literals;
using namespace Simulator;

/// Collects the batches of a sampler.
class BatchCollector {
  public:
    auto collect() {
        return [this](const Batch& batch) {
            const std::lock_guard lock{mutex_};
            batches_.push_back(batch);
            arrived_.notify_all();
        };
    }

    /// Waits for batches in addition to those that are there.
    std::vector<Batch> await(size_t count) {
        std::unique_lock lock{mutex_};
        const size_t total = batches_.size() + count;
        EXPECT_TRUE(arrived_.wait_for(lock, 30s, [&] { return batches_.size() >= total; }));
        return batches_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<Batch> batches_;
};

TEST(SamplerTest, SamplesFollowEachOtherAtTheRateInWholeBatches) {
    BatchCollector collector;
    Sampler sampler{{1000, 4}, std::make_shared<WorldClock>(), collector.collect()};
    sampler.setBatchLimit(32);
    const std::vector<Batch> batches = collector.await(20);
    sampler.stop();
    uint32_t sequence = batches[0].firstSequence;
    auto sampled = batches[0].firstSample;
    for (const Batch& batch : batches) {
        EXPECT_EQ(batch.size, 4U);
        EXPECT_EQ(batch.period, 1ms);
        // On a busy machine samples may be missing: they are counted, and time stays on the grid.
        EXPECT_EQ(batch.firstSample - sampled, (batch.firstSequence - sequence) * 1ms);
        EXPECT_EQ(batch.isAfterGap, batch.firstSequence != sequence);
        EXPECT_EQ(batch.firstWorldTime % 1'000'000, 0);
        sequence = batch.firstSequence + batch.size;
        sampled = batch.firstSample + batch.size * batch.period;
    }
}

TEST(SamplerTest, NewRateAndLimitApplyToTheNextBatchesAndALongBatchCanBeStopped) {
    BatchCollector collector;
    Sampler sampler{{1000, 4}, std::make_shared<WorldClock>(), collector.collect()};
    sampler.setBatchLimit(3);
    EXPECT_EQ(collector.await(1).back().size, 3U);
    sampler.setPlan({2000, 2});
    const Batch batch = collector.await(3).back();
    EXPECT_EQ(batch.size, 2U);
    EXPECT_EQ(batch.period, 500us);
    sampler.setPlan({1, 3600});
    sampler.setBatchLimit(0);
    sampler.setBatchLimit(3600);
    sampler.stop();
}

/// When samples were taken, in ms since the world's start, in the order in which they were.
struct Diary {
    auto keep(char sensor, int64_t last) {
        return [this, sensor, last](const Batch& batch) {
            const std::lock_guard lock{mutex};
            const int64_t time = batch.firstWorldTime / 1'000'000;
            if (time <= last) {
                entries.push_back(std::to_string(time) + sensor);
            }
            isComplete[sensor] = time >= last;
            changed.notify_all();
        };
    }

    void await(char sensor) {
        std::unique_lock lock{mutex};
        EXPECT_TRUE(changed.wait_for(lock, 30s, [&] { return isComplete[sensor]; }));
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> entries;
    std::map<char, bool> isComplete;
};

TEST(PacedClockTest, SamplersTakeTurnsInTheOrderOfTimeAndALateOneBeginsWithTheWorld) {
    const auto clock = std::make_shared<WorldClock>(0);
    EXPECT_EQ(clock->start(), WorldClock(0).start());
    Diary diary;
    Sampler follower{{250, 1}, clock, diary.keep('f', 8), WorldClock::Role::FOLLOWS};
    follower.setBatchLimit(1);
    Sampler slow{{200, 1}, clock, diary.keep('s', 10)};
    slow.setBatchLimit(1);
    diary.await('s');
    diary.await('f');
    Sampler late{{500, 1}, clock, diary.keep('l', 4)};
    late.setBatchLimit(1);
    diary.await('l');
    slow.stop();
    late.stop();
    const auto stopped = clock->now();
    // Whether the follower or the slow one began first is up to the threads.
    std::sort(diary.entries.begin(), diary.entries.begin() + 4);
    EXPECT_THAT(diary.entries, ::testing::ElementsAre("10s", "4f", "5s", "8f", "2l", "4l"));

    // A client that starts after all others have stopped does not get earlier samples.
    BatchCollector collector;
    Sampler next{{1000, 1}, clock, collector.collect()};
    next.setBatchLimit(1);
    EXPECT_GT(collector.await(1).front().firstSample, stopped);
}

TEST(PlanTest, ZeroMeansTheDefaultAndUnsupportedValuesAreRefused) {
    constexpr SensorCapabilities kSensor{{1000, 4}, 2000};
    struct Case {
        Hidl::MotionStreamProperties asked;
        std::optional<SamplingPlan> plan;
    };
    const Case cases[] = {
        {{0, 0}, SamplingPlan{1000, 4}},
        {{500, 0}, SamplingPlan{500, 4}},
        {{0, 16}, SamplingPlan{1000, 16}},
        {{2000, 256}, SamplingPlan{2000, 256}},
        {{1, 0}, SamplingPlan{1, 1}},
        {{2001, 1}, std::nullopt},
        {{1000, 257}, std::nullopt},
        {{10, 11}, std::nullopt},
        {{UINT32_MAX, UINT32_MAX}, std::nullopt},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(planFor(c.asked, kSensor), c.plan)
            << c.asked.sampleRate << " Hz, " << c.asked.batchSize;
    }
}

}  // namespace
