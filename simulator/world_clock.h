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
/// At speed 0 the clients set the pace: time stands still while anything of what was sampled so far
/// waits for room in a queue, and jumps from one sample to the next otherwise. The world then
/// begins at the same instant in every run. Each sampler takes its turn: none samples an instant
/// while another that has listeners is behind it. One that is started after others begins where
/// they began all the same, and they wait until it has caught up, so that what a stream holds does
/// not depend on when it was started. Where several streams have one sampler, that is not enough:
/// whenever a client begins to listen, time stands still for kSettling of real time.
///
/// Threading: every method may be called from any thread.
class WorldClock {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// In which a program starts the next of its streams, also on a busy machine.
    static constexpr std::chrono::milliseconds kSettling{500};

    /// @param speed 0, or a finite number above
    explicit WorldClock(double speed = 1);

    bool isPacedByClients() const { return speed_ == 0; }
    Time start() const { return start_; }
    Time now() const;
    /// In ns since the start.
    int64_t worldTime(Time time) const { return std::chrono::nanoseconds(time - start_).count(); }

    /// Of samplers that are due at the same instant, those that lead come first.
    enum class Role {
        /// A client listens.
        LEADS,
        /// A sampler that may have no clients: time does not go on for its sake.
        FOLLOWS,
    };

    /// Makes a sampler known. Of those that are due at the same instant, and alike otherwise, the
    /// one that came first is the first.
    using SamplerId = uint64_t;
    SamplerId enrol();

    /// Waits until `due`; in real time not before `notBefore`. `lock` is held, but not while
    /// waiting.
    /// @param changed notified, and interrupt() called, whenever isCancelled may have changed
    /// @param isCancelled asked under the lock
    /// @return false if it was cancelled
    bool await(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
               SamplerId sampler, Time due, Time notBefore, Role role,
               const std::function<bool()>& isCancelled);

    // For samplers, if clients set the pace.

    /// Where those begin that are listened to now: where time stood when the last of those before
    /// them left.
    Time beginning() const;

    /// Somebody begins to listen.
    void settle();

    /// No longer waits for the sampler. Does nothing if it has left before.
    void leave(SamplerId sampler);
    /// Has all who wait ask whether they are cancelled.
    void interrupt();

  private:
    /// Waits until all others have sampled what comes before `due`. From then on time stands at
    /// `due` until the sampler asks for its next turn or leaves.
    /// @param isCancelled asked whenever interrupt() was called; called under the clock's lock
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
    // Written under the lock, and read without it: those who ask may hold locks that are taken
    // under it.
    std::atomic<Time> now_;
    std::atomic<Time> beginning_;
    mutable std::mutex mutex_;  // guards everything below
    std::condition_variable changed_;
    SamplerId lastId_ = 0;
    std::map<SamplerId, Turn> turns_;
    /// In real time.
    Time settled_{};
};

}  // namespace Simulator
