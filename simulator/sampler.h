// The clock of one sensor: a thread that calls for a batch of samples when it is due.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "world_clock.h"

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

/// Consecutive samples, one period apart. The last one was taken just now.
struct Batch {
    WorldClock::Time firstSample;
    /// World time of the first sample: ns since the world's start.
    int64_t firstWorldTime;
    std::chrono::nanoseconds period;
    uint32_t firstSequence;
    uint32_t size;
    /// When the service received it.
    WorldClock::Time arrival;
    /// Whether samples before the batch were missed because the machine was too busy.
    bool isAfterGap;
};

struct SampleInstant {
    /// When the sample was taken, in ns. CLOCK_MONOTONIC if the world runs in real time.
    int64_t timestamp;
    /// When the service received it.
    int64_t arrivalTimestamp;
    uint32_t sequence;
    /// When the sample was taken, in ns since the world's start.
    int64_t worldTime;
    /// From one sample to the next.
    std::chrono::nanoseconds period;
};

/// In Hz.
inline double rateOf(const SampleInstant& instant) {
    return 1 / std::chrono::duration<double>(instant.period).count();
}

SampleInstant instantOf(const Batch& batch, uint32_t index);

/// Runs only while a client listens. Samples lie on a grid of whole periods since the world's
/// start, so that samples of different sensors coincide and delays of the thread do not add up.
///
/// Threading: every method may be called from any thread but its own. `deliver` is called on the
/// sampler's thread, without a lock.
class Sampler {
  public:
    using Role = WorldClock::Role;

    /// Default capacity of a sensor's FIFO, as a time.
    static constexpr std::chrono::milliseconds kFifo{2000};

    /// @throws std::system_error if no thread can be started
    /// @param fifo samples older than this are lost if the thread runs late
    Sampler(SamplingPlan plan, std::shared_ptr<WorldClock> clock,
            std::function<void(const Batch&)> deliver, Role role = Role::LEADS,
            std::chrono::milliseconds fifo = kFifo);
    ~Sampler();
    Sampler(const Sampler&) = delete;
    Sampler& operator=(const Sampler&) = delete;

    /// Takes effect with the next batch.
    void setPlan(SamplingPlan plan);

    /// Limits the size of the following batches. 0: no client listens.
    void setBatchLimit(size_t limit);

    /// Ends the thread, permanently.
    void stop();

    /// Number of samples that were missed because the machine was too busy.
    uint64_t missedSamples() const;

  private:
    void run();
    bool isToStandStillLocked() const { return isStopped_ || batchLimit_ == 0; }
    void interrupt();

    const std::shared_ptr<WorldClock> clock_;
    const WorldClock::SamplerId id_;
    const std::function<void(const Batch&)> deliver_;
    const Role role_;
    const std::chrono::milliseconds fifo_;
    mutable std::mutex mutex_;  // guards everything below but the thread
    std::condition_variable changed_;
    SamplingPlan plan_;
    size_t batchLimit_ = 0;
    bool isStopped_ = false;
    uint64_t missedSamples_ = 0;
    std::thread thread_;
};

}  // namespace Simulator
