// The samplers' clocks, and what they can be configured to.
#include "sampler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
    Sampler sampler{{1000, 4}, collector.collect()};
    sampler.setBatchLimit(32);
    const std::vector<Batch> batches = collector.await(20);
    sampler.stop();
    uint32_t sequence = 0;
    auto sampled = batches[0].firstSample;
    for (const Batch& batch : batches) {
        EXPECT_EQ(batch.size, 4U);
        EXPECT_EQ(batch.period, 1ms);
        EXPECT_EQ(batch.firstSequence, sequence);
        // On a busy machine samples may be missing, but time stays on the sensor's grid.
        EXPECT_GE(batch.firstSample, sampled);
        EXPECT_EQ((batch.firstSample - sampled) % 1ms, 0ns);
        sequence += batch.size;
        sampled = batch.firstSample + batch.size * batch.period;
    }
    EXPECT_LE(sampled - batches[0].firstSample,
              (sequence + sampler.missedSamples()) * std::chrono::nanoseconds{1ms});
}

TEST(SamplerTest, NewPlanAndLimitHoldForTheNextBatchesAndALongOneCanBeStopped) {
    BatchCollector collector;
    Sampler sampler{{1000, 4}, collector.collect()};
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

TEST(PlanTest, ZeroAsksForTheDefaultAndWhatTheSensorCannotDoIsRefused) {
    constexpr SensorCapabilities kSensor{{1000, 4}, 2000};
    struct Case {
        Hal::MotionStreamProperties asked;
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
