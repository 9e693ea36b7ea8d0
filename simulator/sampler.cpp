// See sampler.h.
#include "sampler.h"

#include <pthread.h>
#include <sys/prctl.h>

#include <algorithm>

#include "time_units.h"

namespace Simulator {
namespace {

using Clock = std::chrono::steady_clock;

/// By how much a thread that did not get to run may be behind and still catch up. More than that at
/// once would overrun the queues of clients that did nothing wrong.
constexpr std::chrono::milliseconds kMaxLag{15};

}  // namespace

SampleInstant instantOf(const Batch& batch, uint32_t index, Clock::time_point arrival) {
    return {toNanoseconds(batch.firstSample + index * batch.period), toNanoseconds(arrival),
            batch.firstSequence + index};
}

Sampler::Sampler(SamplingPlan plan, std::function<void(const Batch&)> deliver)
    : deliver_(std::move(deliver)), plan_(plan), thread_([this] { run(); }) {}

Sampler::~Sampler() {
    stop();
}

void Sampler::setPlan(SamplingPlan plan) {
    const std::lock_guard lock{mutex_};
    plan_ = plan;
}

void Sampler::setBatchLimit(size_t limit) {
    const std::lock_guard lock{mutex_};
    batchLimit_ = limit;
    changed_.notify_all();
}

void Sampler::stop() {
    {
        const std::lock_guard lock{mutex_};
        isStopped_ = true;
        changed_.notify_all();
    }
    if (thread_.joinable()) {
        thread_.join();
    }
}

uint64_t Sampler::missedSamples() const {
    const std::lock_guard lock{mutex_};
    return missedSamples_;
}

void Sampler::run() {
    pthread_setname_np(pthread_self(), "sampler");
    // The default slack of 50 us would be most of a sample's latency.
    prctl(PR_SET_TIMERSLACK, 1UL);
    uint32_t sequence = 0;
    std::unique_lock lock{mutex_};
    while (!isStopped_) {
        changed_.wait(lock, [this] { return isStopped_ || batchLimit_ > 0; });
        Clock::time_point begin = Clock::now();
        while (!isStopped_ && batchLimit_ > 0) {
            const std::chrono::nanoseconds period =
                std::chrono::nanoseconds{std::chrono::seconds{1}} / plan_.rate;
            const auto size = static_cast<uint32_t>(std::min<size_t>(plan_.batchSize, batchLimit_));
            const Clock::time_point due = begin + size * period;
            if (changed_.wait_until(lock, due, [this] { return isStopped_ || batchLimit_ == 0; })) {
                break;
            }
            lock.unlock();
            deliver_({begin + period, period, sequence, size});
            lock.lock();
            sequence += size;
            begin = due;
            const Clock::duration lag = Clock::now() - due;
            if (lag > std::max<Clock::duration>(kMaxLag, size * period)) {
                missedSamples_ += static_cast<uint64_t>(lag / period);
                begin += lag / period * period;
            }
        }
    }
}

}  // namespace Simulator
