// See ThreadPool.h.
#include "transport/ThreadPool.h"

#include <pthread.h>

#include <chrono>
#include <thread>
#include <utility>

namespace android::hardware::details {

namespace {
constexpr std::chrono::seconds kIdleTime{1};
}

ThreadPool& ThreadPool::self() {
    static auto* const pool = new ThreadPool;
    return *pool;
}

void ThreadPool::post(std::function<void()> task) {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    if (idleThreads_ >= tasks_.size()) {
        taskPosted_.notify_one();
    } else {
        std::thread([this] {
            pthread_setname_np(pthread_self(), "HIDL:pool");
            runUntilIdle();
        }).detach();
    }
}

void ThreadPool::runUntilIdle() {
    std::unique_lock lock(mutex_);
    while (true) {
        ++idleThreads_;
        const bool isPosted =
            taskPosted_.wait_for(lock, kIdleTime, [this] { return !tasks_.empty(); });
        --idleThreads_;
        if (!isPosted) return;
        std::function<void()> task = std::move(tasks_.front());
        tasks_.pop_front();
        lock.unlock();
        task();
        task = nullptr;  // what it holds goes before the thread counts as idle
        lock.lock();
    }
}

void ThreadPool::join() {
    while (true) runUntilIdle();
}

}  // namespace android::hardware::details
