// A mutex whose use the compiler checks: -Wthread-safety rejects code that uses a guarded member,
// or calls a function that requires the mutex, without holding it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

// The usual macro names of the attributes.
#define CAPABILITY(name) __attribute__((capability(name)))
#define SCOPED_CAPABILITY __attribute__((scoped_lockable))
#define GUARDED_BY(mutex) __attribute__((guarded_by(mutex)))
#define REQUIRES(...) __attribute__((requires_capability(__VA_ARGS__)))
#define ACQUIRED_BEFORE(...) __attribute__((acquired_before(__VA_ARGS__)))
#define ACQUIRE(...) __attribute__((acquire_capability(__VA_ARGS__)))
#define TRY_ACQUIRE(...) __attribute__((try_acquire_capability(__VA_ARGS__)))
#define RELEASE(...) __attribute__((release_capability(__VA_ARGS__)))

namespace android::hardware::details {

class CAPABILITY("mutex") Mutex {
  public:
    using Deadline = std::chrono::steady_clock::time_point;

    void lock() ACQUIRE() { mutex_.lock(); }
    bool tryLock() TRY_ACQUIRE(true) { return mutex_.try_lock(); }
    void unlock() RELEASE() { mutex_.unlock(); }

    /** Releases the mutex while it waits. @param deadline Deadline::max() for no limit */
    void wait(std::condition_variable& changed, Deadline deadline = Deadline::max())
        REQUIRES(this) {
        std::unique_lock lock(mutex_, std::adopt_lock);
        if (deadline == Deadline::max()) {
            changed.wait(lock);
        } else {
            changed.wait_until(lock, deadline);
        }
        lock.release();
    }

  private:
    std::mutex mutex_;
};

/** Locks a mutex for its scope. */
class SCOPED_CAPABILITY MutexLock {
  public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~MutexLock() RELEASE() { mutex_.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

  private:
    Mutex& mutex_;
};

}  // namespace android::hardware::details
