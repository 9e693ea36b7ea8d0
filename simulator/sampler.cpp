// Each sampler's thread sleeps until its next batch is due.
#include "sampler.h"

#include <pthread.h>
#include <sys/prctl.h>

#include <algorithm>
#include <utility>

#include "time_units.h"

namespace Simulator {
namespace {

using Time = WorldClock::Time;

/// A thread that runs late delivers up to this much missed time at once. More would overrun the
/// queues of well-behaved clients, so the rest is delivered at twice the pace.
constexpr std::chrono::milliseconds kMaxBurst{15};

/// The last instant on the grid of whole periods since `start` that is not after `time`.
Time onGrid(Time start, Time time, std::chrono::nanoseconds period) {
    return start + (time - start) / period * period;
}

}  // namespace

SampleInstant instantOf(const Batch& batch, uint32_t index) {
    const std::chrono::nanoseconds offset = index * batch.period;
    return {toNanoseconds(batch.firstSample + offset), toNanoseconds(batch.arrival),
            batch.firstSequence + index, batch.firstWorldTime + offset.count(), batch.period};
}

Sampler::Sampler(SamplingPlan plan, std::shared_ptr<WorldClock> clock,
                 std::function<void(const Batch&)> deliver, Role role,
                 std::chrono::milliseconds fifo)
    : clock_(std::move(clock)),
      id_(clock_->enrol()),
      deliver_(std::move(deliver)),
      role_(role),
      fifo_(fifo),
      plan_(plan),
      thread_([this] { run(); }) {}

Sampler::~Sampler() {
    stop();
}

void Sampler::setPlan(SamplingPlan plan) {
    const std::lock_guard lock{mutex_};
    plan_ = plan;
}

void Sampler::setBatchLimit(size_t limit) {
    clock_->settle();
    {
        const std::lock_guard lock{mutex_};
        batchLimit_ = limit;
    }
    interrupt();
}

void Sampler::stop() {
    {
        const std::lock_guard lock{mutex_};
        isStopped_ = true;
    }
    interrupt();
    if (thread_.joinable()) {
        thread_.join();
    }
}

uint64_t Sampler::missedSamples() const {
    const std::lock_guard lock{mutex_};
    return missedSamples_;
}

void Sampler::interrupt() {
    changed_.notify_all();
    clock_->interrupt();
}

void Sampler::run() {
    pthread_setname_np(pthread_self(), "sampler");
    // The default timer slack of 50 us would be most of a sample's latency.
    prctl(PR_SET_TIMERSLACK, 1UL);
    uint32_t sequence = 0;
    Time lastSample = clock_->start() - std::chrono::nanoseconds{1};
    std::unique_lock lock{mutex_};
    while (!isStopped_) {
        changed_.wait(lock, [this] { return isStopped_ || batchLimit_ > 0; });
        Time begin = clock_->now();
        if (clock_->isPacedByClients() && lastSample < clock_->beginning()) {
            begin = clock_->beginning();
        }
        bool isAfterGap = false;
        Time notBefore{};
        while (!isToStandStillLocked()) {
            const std::chrono::nanoseconds period =
                std::chrono::nanoseconds{std::chrono::seconds{1}} / plan_.rate;
            const auto size = static_cast<uint32_t>(std::min<size_t>(plan_.batchSize, batchLimit_));
            begin = onGrid(clock_->start(), begin, period);
            const Time due = begin + size * period;
            if (!clock_->await(lock, changed_, id_, due, notBefore, role_,
                               [this] { return isToStandStillLocked(); })) {
                break;
            }
            lock.unlock();
            const Time firstSample = begin + period;
            const Time now = clock_->isPacedByClients() ? due : clock_->now();
            deliver_({firstSample, clock_->worldTime(firstSample), period, sequence, size, now,
                      isAfterGap});
            lock.lock();
            sequence += size;
            begin = lastSample = due;
            isAfterGap = false;
            if (clock_->isPacedByClients()) {
                continue;
            }
            const Time delivered = clock_->now();
            const Time::duration lag = delivered - due;
            const Time::duration span = size * period;
            notBefore = lag > kMaxBurst ? delivered + span / 2 : Time{};
            if (lag > std::max<Time::duration>(fifo_, span)) {
                const auto missed = static_cast<uint32_t>(lag / period);
                missedSamples_ += missed;
                sequence += missed;
                begin += missed * period;
                isAfterGap = true;
            }
        }
        lock.unlock();
        clock_->leave(id_);
        lock.lock();
    }
}

}  // namespace Simulator
