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
     * @param isAtEnd whether the stream has ended
     * @param mayServe whether the thread may continue with work that can take long
     */
    virtual void onReadable(bool isAtEnd, bool mayServe) = 0;
    /** The process at the other end, whose calls are served; kNoProcess if there is none. */
    virtual int process() const = 0;
};

constexpr int kNoProcess = -1;

/**
 * All threads wait in one place for descriptors and tasks. At least one thread always waits: as
 * soon as the last one gets work, another is started, because the work may itself wait for the next
 * message. If no thread can be started (the limit is reached, or the system refuses), the last one
 * only reads and leaves tasks to threads that finish theirs. Idle threads end after a while, except
 * for a reserve.
 *
 * A peer process occupies at most kMaxThreadsOfProcess threads, however many connections it has,
 * and only one while the reserve cannot be filled. So a process that does not answer cannot block
 * the calls of others.
 *
 * Threading: every method may be called from any thread.
 */
class ThreadPool {
  public:
    /** Never destroyed: its threads may outlive main(). */
    static ThreadPool& self();

    /**
     * Whether this process is a forked child of one that has a pool. It then has none of the pool's
     * threads and shares the descriptors with its parent, so it must not use the sockets.
     */
    static bool isInherited() { return isInherited_; }

    /** @param process peer for which the task runs and whose share of the threads it uses */
    void post(std::function<void()> task, int process = kNoProcess);
    /** Runs the task in about 10 ms, together with others posted in the meantime. */
    void postLater(std::function<void()> task);

    /**
     * Sets how many threads may be busy at once, besides those that call join(). The initial value
     * is one, as on the device.
     */
    void setMaxBusyThreads(size_t count);

    /**
     * From now on keeps kReserve waiting threads, because starting one later may fail. Does nothing
     * as on the device (isAsOnDevice).
     */
    void keepReserve();

    /** Makes the calling thread one of the pool's. Never returns. */
    [[noreturn]] void join();

    /** @return a name for the descriptor, which is not watched yet; 0 if it cannot be added */
    uint64_t add(int fd, const std::weak_ptr<Readable>& readable);
    /** Arms one notification of the owner, for when the descriptor is or becomes readable. */
    void watchOnce(int fd, uint64_t name);
    /** Notifies the owner whenever the descriptor becomes readable, possibly on several threads. */
    void watch(int fd, uint64_t name);
    /** Disarms both. A notification in flight, or that of the socket's end, may still arrive. */
    void ignore(int fd, uint64_t name);
    void remove(int fd, uint64_t name);

  private:
    static constexpr size_t kMaxThreads = 256;
    static constexpr size_t kMaxThreadsOfProcess = kMaxThreads / 4;
    /** One thread reads, and each of the others can serve a process. */
    static constexpr size_t kReserve = 4;

    struct Task {
        std::function<void()> run;
        int process;
    };

    ThreadPool();
    bool control(int operation, int fd, uint32_t events, uint64_t name);
    bool isIdle() const REQUIRES(mutex_) {
        return readables_.empty() && tasks_.empty() && laterTasks_.empty();
    }
    bool startThread() REQUIRES(mutex_);
    /** Starts threads until the reserve is complete. @return false if no thread waits even then */
    bool fillReserve() REQUIRES(mutex_);
    /**
     * Whether a thread that has left the wait may do work that can take long, because another one
     * waits.
     */
    bool mayGoOn() REQUIRES(mutex_);
    bool mayOccupyThread(int process) const REQUIRES(mutex_);
    /** Add the calling thread to those that the process occupies, and remove it. */
    void occupy(int process) REQUIRES(mutex_);
    void vacate(int process) REQUIRES(mutex_);
    void run(bool mayEnd);
    /** Runs tasks as long as another thread waits. */
    void runTasks() REQUIRES(mutex_);
    void handle(uint64_t name, uint32_t events) REQUIRES(mutex_);

    static inline std::atomic<bool> isInherited_{false};

    const unique_fd events_;
    const unique_fd taskPosted_;
    const unique_fd timer_;

    Mutex mutex_;
    /** One more than the threads that may be busy, because one always waits. */
    size_t maxThreads_ GUARDED_BY(mutex_);
    size_t threads_ GUARDED_BY(mutex_) = 0;
    size_t waitingThreads_ GUARDED_BY(mutex_) = 0;
    /** Number of threads to keep waiting. */
    size_t reserve_ GUARDED_BY(mutex_) = 1;
    /** Whether the reserve could not be filled. */
    bool isShort_ GUARDED_BY(mutex_) = false;
    std::map<int, size_t> threadsOfProcesses_ GUARDED_BY(mutex_);
    std::deque<Task> tasks_ GUARDED_BY(mutex_);
    std::vector<std::function<void()>> laterTasks_ GUARDED_BY(mutex_);
    uint64_t lastName_ GUARDED_BY(mutex_);
    std::map<uint64_t, std::weak_ptr<Readable>> readables_ GUARDED_BY(mutex_);
};

}  // namespace android::hardware::details
