// The clock of one sensor: a thread that calls for a batch of samples when it is due.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

namespace Simulator {

struct SamplingPlan {
    /// In Hz, above 0.
    uint32_t rate;
    /// Above 0.
    uint32_t batchSize;

    friend bool operator==(const SamplingPlan& a, const SamplingPlan& b) {
        return a.rate == b.rate && a.batchSize == b.batchSize;
    }
};

/// Samples that were taken one period after the other; the last one just now.
struct Batch {
    std::chrono::steady_clock::time_point firstSample;
    std::chrono::nanoseconds period;
    uint32_t firstSequence;
    uint32_t size;
};

struct SampleInstant {
    /// When the sample was taken: CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    /// When the service had it in hand.
    int64_t arrivalTimestamp;
    uint32_t sequence;
};

/// @param arrival when the service had the batch in hand
SampleInstant instantOf(const Batch& batch, uint32_t index,
                        std::chrono::steady_clock::time_point arrival);

/// Runs only while somebody listens. Deadlines follow from each other, not from when the thread got
/// to run, so that the rate holds.
///
/// Threading: every method may be called from any thread but its own. `deliver` is called on the
/// sampler's thread, without a lock.
class Sampler {
  public:
    Sampler(SamplingPlan plan, std::function<void(const Batch&)> deliver);
    ~Sampler();
    Sampler(const Sampler&) = delete;
    Sampler& operator=(const Sampler&) = delete;

    /// Holds from the next batch on.
    void setPlan(SamplingPlan plan);

    /// No batch that begins from now on is larger. 0: nobody listens.
    void setBatchLimit(size_t limit);

    /// Ends the thread; for good.
    void stop();

    /// How many samples were not taken because the machine was too busy for the thread.
    uint64_t missedSamples() const;

  private:
    void run();

    const std::function<void(const Batch&)> deliver_;
    mutable std::mutex mutex_;  // guards everything below but the thread
    std::condition_variable changed_;
    SamplingPlan plan_;
    size_t batchLimit_ = 0;
    bool isStopped_ = false;
    uint64_t missedSamples_ = 0;
    std::thread thread_;
};

}  // namespace Simulator
