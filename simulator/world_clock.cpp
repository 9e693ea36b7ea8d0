// Real time is computed, paced time is negotiated between the samplers.
#include "world_clock.h"

#include <algorithm>
#include <tuple>

namespace Simulator {
namespace {

using Time = WorldClock::Time;

/// Of a world that the clients pace. Not 0, which stands for "no time" in some records.
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
    const std::lock_guard lock{mutex_};
    return now_;
}

Time WorldClock::realTime(Time time) const {
    return start_ + scaled(time - start_, 1 / speed_);
}

bool WorldClock::isItsTurnLocked(const void* sampler) const {
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
    const std::lock_guard lock{mutex_};
    return beginning_;
}

bool WorldClock::awaitTurn(const void* sampler, Time due, Role role,
                           const std::function<bool()>& isCancelled) {
    std::unique_lock lock{mutex_};
    turns_[sampler] = {due, role};
    changed_.notify_all();
    while (!isCancelled()) {
        if (isItsTurnLocked(sampler)) {
            now_ = std::max(now_, due);
            return true;
        }
        changed_.wait(lock);
    }
    leaveLocked(sampler);
    return false;
}

void WorldClock::leave(const void* sampler) {
    const std::lock_guard lock{mutex_};
    leaveLocked(sampler);
}

void WorldClock::leaveLocked(const void* sampler) {
    if (turns_.erase(sampler) > 0) {
        if (!isLedLocked()) {
            beginning_ = now_;
        }
        changed_.notify_all();
    }
}

void WorldClock::interrupt() {
    const std::lock_guard lock{mutex_};
    changed_.notify_all();
}

}  // namespace Simulator
