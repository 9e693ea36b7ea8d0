// Mutexes with annotations for the compiler's thread-safety analysis, which checks that guarded
// members are only used under their mutex. The standard library's are not annotated.
#pragma once

#include <mutex>
#include <shared_mutex>

#define VEK_GUARDED_BY(mutex) __attribute__((guarded_by(mutex)))

namespace Vek::OS {

/// @tparam StandardMutex std::mutex, std::shared_mutex or std::recursive_mutex. The analysis sees
/// one function at a time, so a recursive mutex must be taken again in another function.
template <typename StandardMutex>
class __attribute__((capability("mutex"))) AnnotatedMutex {
  public:
    void lock() __attribute__((acquire_capability())) { mutex_.lock(); }
    void unlock() __attribute__((release_capability())) { mutex_.unlock(); }
    void lock_shared() __attribute__((acquire_shared_capability())) { mutex_.lock_shared(); }
    void unlock_shared() __attribute__((release_shared_capability())) { mutex_.unlock_shared(); }

  private:
    StandardMutex mutex_;
};

using Mutex = AnnotatedMutex<std::mutex>;
using SharedMutex = AnnotatedMutex<std::shared_mutex>;
using RecursiveMutex = AnnotatedMutex<std::recursive_mutex>;

/// Locks the mutex for its scope.
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

/// Locks the mutex for its scope, shared with other readers.
class __attribute__((scoped_lockable)) SharedLockGuard {
  public:
    explicit SharedLockGuard(SharedMutex& mutex) __attribute__((acquire_shared_capability(mutex)))
    : mutex_(mutex) {
        mutex_.lock_shared();
    }
    ~SharedLockGuard() __attribute__((release_capability())) { mutex_.unlock_shared(); }

    SharedLockGuard(const SharedLockGuard&) = delete;
    SharedLockGuard& operator=(const SharedLockGuard&) = delete;

  private:
    SharedMutex& mutex_;
};

}  // namespace Vek::OS
