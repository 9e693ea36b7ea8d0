// The HIDL threads of the process: they read the sockets, serve calls and deliver death notices.
#pragma once

#include <android-base/unique_fd.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "Mutex.h"

namespace android::hardware::details {

using base::unique_fd;

/** Something with a descriptor that the pool waits for. */
class Readable {
  public:
    virtual ~Readable() = default;
    /**
     * Called on a thread of the pool when there is something to read.
     * @param isAtEnd whether nothing will come after it
     * @param mayServe whether the thread can go on with what may take long
     */
    virtual void onReadable(bool isAtEnd, bool mayServe) = 0;
};

/**
 * All threads wait in one place for whatever comes, and there is always one more that does: as
 * soon as the last one has something to do, another is started, because what it does may wait for
 * what comes next. If none can be started, or there are as many as may be, the last one reads and
 * leaves the tasks to those that come back. Threads that find nothing to do for a while end.
 *
 * Threading: every method may be called from any thread.
 */
class ThreadPool {
  public:
    /** Never destroyed: its threads may outlive main(). */
    static ThreadPool& self();

    /**
     * Whether this process was forked off one that has a pool. It has no threads then, and shares
     * its descriptors with its parent: it must leave the sockets alone.
     */
    static bool isInherited() { return isInherited_; }

    void post(std::function<void()> task);
    /** Runs the task in some 10 ms, when others that came meanwhile are run, too. */
    void postLater(std::function<void()> task);

    /** So many may be busy at once, beside those that join. As on the device, one until this. */
    void setMaxBusyThreads(size_t count);

    /** Makes the calling thread one of the pool, for good. */
    [[noreturn]] void join();

    /** @return a name for the descriptor, which the pool does not wait for yet; 0 if it cannot */
    uint64_t add(int fd, const std::weak_ptr<Readable>& readable);
    /** Has the owner called once, when the descriptor becomes readable or is so already. */
    void watchOnce(int fd, uint64_t name);
    /** Has it called then, and again whenever more comes, by several threads if need be. */
    void watch(int fd, uint64_t name);
    /** Takes that back. The call comes nevertheless if it is on its way, or at the socket's end. */
    void ignore(int fd, uint64_t name);
    void remove(int fd, uint64_t name);

  private:
    // Of all peers together; one connection occupies a few.
    static constexpr size_t kMaxThreads = 256;

    ThreadPool();
    bool control(int operation, int fd, uint32_t events, uint64_t name);
    bool isIdle() const REQUIRES(mutex_) {
        return readables_.empty() && tasks_.empty() && laterTasks_.empty();
    }
    /** @return false if none waits nevertheless */
    bool startThreadIfNoneWaits() REQUIRES(mutex_);
    /** Whether a thread that does not wait any more may do what can take long. */
    bool mayGoOn() REQUIRES(mutex_);
    void run(bool mayEnd);
    /** As long as another thread waits. */
    void runTasks() REQUIRES(mutex_);
    void handle(uint64_t name, uint32_t events, bool mayServe) REQUIRES(mutex_);

    static inline std::atomic<bool> isInherited_{false};

    const unique_fd events_;
    const unique_fd taskPosted_;
    const unique_fd timer_;

    Mutex mutex_;
    /** One more than may be busy, for one reads. */
    size_t maxThreads_ GUARDED_BY(mutex_);
    size_t threads_ GUARDED_BY(mutex_) = 0;
    size_t waitingThreads_ GUARDED_BY(mutex_) = 0;
    /** So many wait that none ends: where programs join, one more, for want of another later. */
    size_t reserve_ GUARDED_BY(mutex_) = 1;
    std::deque<std::function<void()>> tasks_ GUARDED_BY(mutex_);
    std::vector<std::function<void()>> laterTasks_ GUARDED_BY(mutex_);
    uint64_t lastName_ GUARDED_BY(mutex_);
    std::map<uint64_t, std::weak_ptr<Readable>> readables_ GUARDED_BY(mutex_);
};

}  // namespace android::hardware::details
