// The HIDL threads of the process: they serve calls and deliver death notices.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

namespace android::hardware::details {

/**
 * Grows whenever a task finds no idle thread, because a task may wait for another
 * one. Threads that stay idle for a while end.
 *
 * Threading: every method may be called from any thread.
 */
class ThreadPool {
  public:
    /** Never destroyed: its threads may outlive main(). */
    static ThreadPool& self();

    void post(std::function<void()> task);

    /** Makes the calling thread one of the pool, for good. */
    [[noreturn]] void join();

  private:
    void runUntilIdle();

    std::mutex mutex_;
    std::condition_variable taskPosted_;
    std::deque<std::function<void()>> tasks_;
    size_t idleThreads_ = 0;
};

}  // namespace android::hardware::details
