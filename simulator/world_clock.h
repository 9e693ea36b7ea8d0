// The time of the simulated world.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>

namespace Simulator {

/// The world begins when the clock is made. At speed 1 its time is CLOCK_MONOTONIC. At any other
/// speed above 0 it runs that much faster or slower from there on.
///
/// At speed 0 the clients set the pace: time stands still while any sampled record waits for room
/// in a queue, and otherwise jumps from one sample to the next. The world then begins at the same
/// instant in every run. Samplers take turns: none samples an instant while another that has
/// listeners is behind it. A sampler that starts after others begins where they began, and they
/// wait until it has caught up, so that the content of a stream does not depend on when it was
/// started. For streams that share a sampler this is not enough: so whenever a client begins to
/// listen, time stands still for kSettling of real time.
///
/// Threading: every method may be called from any thread.
class WorldClock {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// Long enough for a program to start its next stream, even on a busy machine.
    static constexpr std::chrono::milliseconds kSettling{500};

    /// @param speed 0, or a finite number above
    explicit WorldClock(double speed = 1);

    bool isPacedByClients() const { return speed_ == 0; }
    Time start() const { return start_; }
    Time now() const;
    /// In ns since the start.
    int64_t worldTime(Time time) const { return std::chrono::nanoseconds(time - start_).count(); }

    /// If several samplers are due at the same instant, those that lead come first.
    enum class Role {
        /// A client listens.
        LEADS,
        /// A sampler that also runs without clients: time does not advance for it alone.
        FOLLOWS,
    };

    /// Registers a sampler. Among samplers of the same role that are due at the same instant, the
    /// one that was registered first comes first.
    using SamplerId = uint64_t;
    SamplerId enrol();

    /// Waits until `due`, and in real time at least until `notBefore`. Releases `lock` while it
    /// waits.
    /// @param changed the caller notifies it, and calls interrupt(), whenever isCancelled may have
    /// changed
    /// @param isCancelled called under `lock`
    /// @return false if it was cancelled
    bool await(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
               SamplerId sampler, Time due, Time notBefore, Role role,
               const std::function<bool()>& isCancelled);

    // The following methods are for samplers, if clients set the pace.

    /// Where a sampler begins that is started now: the time at which the last earlier sampler left.
    Time beginning() const;

    /// Called when a client begins to listen; starts kSettling.
    void settle();

    /// Removes the sampler from the turns. Does nothing if it has left before.
    void leave(SamplerId sampler);
    /// Makes all waiting samplers check whether they are cancelled.
    void interrupt();

  private:
    /// Waits until all other samplers have sampled everything before `due`. Then time stands at
    /// `due` until the sampler requests its next turn or leaves.
    /// @param isCancelled checked after each interrupt(), under the clock's lock
    /// @return false if it was cancelled; the sampler has left then
    bool awaitTurn(SamplerId sampler, Time due, Role role,
                   const std::function<bool()>& isCancelled);

    struct Turn {
        Time due;
        Role role;
    };

    Time realTime(Time time) const;
    bool isItsTurnLocked(SamplerId sampler) const;
    bool isLedLocked() const;
    void leaveLocked(SamplerId sampler);

    const double speed_;
    const Time start_;
    // Written under the lock but read without it: readers may hold locks that are taken under this
    // one.
    std::atomic<Time> now_;
    std::atomic<Time> beginning_;
    mutable std::mutex mutex_;  // guards everything below
    std::condition_variable changed_;
    SamplerId lastId_ = 0;
    std::map<SamplerId, Turn> turns_;
    /// Real time until which time stands still (kSettling).
    Time settled_{};
};

}  // namespace Simulator
