// Real time is computed, paced time is negotiated between the samplers.
#include "world_clock.h"

#include <algorithm>
#include <tuple>

namespace Simulator {
namespace {

using Time = WorldClock::Time;

/// Start of a world that the clients pace. Not 0, which means "no time" in some records.
constexpr Time kPacedStart{std::chrono::hours{1}};

std::chrono::nanoseconds scaled(std::chrono::nanoseconds span, double factor) {
    return factor == 1 ? span
                       : std::chrono::duration_cast<std::chrono::nanoseconds>(
                             std::chrono::duration<double, std::nano>(span) * factor);
}

}  // namespace

WorldClock::WorldClock(double speed)
    : speed_(speed),
      start_(speed == 0 ? kPacedStart : std::chrono::steady_clock::now()),
      now_(start_),
      beginning_(start_) {}

Time WorldClock::now() const {
    if (!isPacedByClients()) {
        return start_ + scaled(std::chrono::steady_clock::now() - start_, speed_);
    }
    return now_;
}

WorldClock::SamplerId WorldClock::enrol() {
    const std::lock_guard lock{mutex_};
    return ++lastId_;
}

bool WorldClock::await(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
                       SamplerId sampler, Time due, Time notBefore, Role role,
                       const std::function<bool()>& isCancelled) {
    if (!isPacedByClients()) {
        return !changed.wait_until(lock, realTime(std::max(due, notBefore)), isCancelled);
    }
    std::mutex& mutex = *lock.mutex();
    lock.unlock();
    const bool isDue = awaitTurn(sampler, due, role, [&] {
        const std::lock_guard callersLock{mutex};
        return isCancelled();
    });
    lock.lock();
    return isDue;
}

/// When steady_clock shows what this clock shows as `time`.
Time WorldClock::realTime(Time time) const {
    return start_ + scaled(time - start_, 1 / speed_);
}

bool WorldClock::isItsTurnLocked(SamplerId sampler) const {
    const auto order = [](const auto& entry) {
        return std::tuple(entry.second.due, entry.second.role, entry.first);
    };
    const auto first =
        std::min_element(turns_.begin(), turns_.end(),
                         [&](const auto& a, const auto& b) { return order(a) < order(b); });
    return first->first == sampler && isLedLocked();
}

bool WorldClock::isLedLocked() const {
    return std::any_of(turns_.begin(), turns_.end(),
                       [](const auto& entry) { return entry.second.role == Role::LEADS; });
}

Time WorldClock::beginning() const {
    return beginning_;
}

bool WorldClock::awaitTurn(SamplerId sampler, Time due, Role role,
                           const std::function<bool()>& isCancelled) {
    std::unique_lock lock{mutex_};
    turns_[sampler] = {due, role};
    changed_.notify_all();
    while (!isCancelled()) {
        const bool isItsTurn = isItsTurnLocked(sampler);
        if (isItsTurn && settled_ <= std::chrono::steady_clock::now()) {
            now_ = std::max(now_.load(), due);
            return true;
        }
        if (isItsTurn) {
            changed_.wait_until(lock, Time{settled_});
        } else {
            changed_.wait(lock);
        }
    }
    leaveLocked(sampler);
    return false;
}

void WorldClock::settle() {
    const std::lock_guard lock{mutex_};
    settled_ = std::chrono::steady_clock::now() + kSettling;
}

void WorldClock::leave(SamplerId sampler) {
    const std::lock_guard lock{mutex_};
    leaveLocked(sampler);
}

void WorldClock::leaveLocked(SamplerId sampler) {
    if (turns_.erase(sampler) > 0) {
        if (!isLedLocked()) {
            beginning_ = now_.load();
        }
        changed_.notify_all();
    }
}

void WorldClock::interrupt() {
    const std::lock_guard lock{mutex_};
    changed_.notify_all();
}

}  // namespace Simulator
