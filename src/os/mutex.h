// Mutexes that the compiler's thread-safety analysis knows: what is guarded by one is used under
// it. The standard library's are not annotated.
#pragma once

#include <mutex>

#define VEK_GUARDED_BY(mutex) __attribute__((guarded_by(mutex)))

namespace Vek::OS {

/// @tparam StandardMutex std::mutex or std::recursive_mutex. A function that takes the recursive
/// one a second time does so out of the analysis' sight, in another function.
template <typename StandardMutex>
class __attribute__((capability("mutex"))) AnnotatedMutex {
  public:
    void lock() __attribute__((acquire_capability())) { mutex_.lock(); }
    void unlock() __attribute__((release_capability())) { mutex_.unlock(); }

  private:
    StandardMutex mutex_;
};

using Mutex = AnnotatedMutex<std::mutex>;
using RecursiveMutex = AnnotatedMutex<std::recursive_mutex>;

/// Holds the mutex as long as it lives.
template <typename Lockable>
class __attribute__((scoped_lockable)) LockGuard {
  public:
    explicit LockGuard(Lockable& mutex) __attribute__((acquire_capability(mutex))) : mutex_(mutex) {
        mutex_.lock();
    }
    ~LockGuard() __attribute__((release_capability())) { mutex_.unlock(); }

    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

  private:
    Lockable& mutex_;
};

}  // namespace Vek::OS
