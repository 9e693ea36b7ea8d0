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
        std::thread([this] { runThread(); }).detach();
    }
}

void ThreadPool::runNext(std::unique_lock<std::mutex>& lock) {
    std::function<void()> task = std::move(tasks_.front());
    tasks_.pop_front();
    lock.unlock();
    task();
    task = nullptr;  // what it holds goes before the thread counts as idle
    lock.lock();
}

void ThreadPool::runThread() {
    pthread_setname_np(pthread_self(), "HIDL:pool");
    std::unique_lock lock(mutex_);
    while (true) {
        while (!tasks_.empty()) runNext(lock);
        ++idleThreads_;
        const bool posted =
            taskPosted_.wait_for(lock, kIdleTime, [this] { return !tasks_.empty(); });
        --idleThreads_;
        if (!posted) return;
    }
}

void ThreadPool::join() {
    std::unique_lock lock(mutex_);
    while (true) {
        while (!tasks_.empty()) runNext(lock);
        ++idleThreads_;
        taskPosted_.wait(lock, [this] { return !tasks_.empty(); });
        --idleThreads_;
    }
}

}  // namespace android::hardware::details
