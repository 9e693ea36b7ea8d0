// See ThreadPool.h.
#define LOG_TAG "HidlTransport"

#include "transport/ThreadPool.h"

#include <log/log.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <system_error>
#include <thread>
#include <utility>

namespace android::hardware::details {

namespace {
constexpr int kIdleTimeMs = 1000;
constexpr itimerspec kLater{{}, {0, 10'000'000}};

// Names of the pool's own descriptors.
constexpr uint64_t kTaskPosted = 0;
constexpr uint64_t kTimer = 1;
}  // namespace

ThreadPool& ThreadPool::self() {
    static auto* const pool = new ThreadPool;
    return *pool;
}

ThreadPool::ThreadPool()
    : events_(epoll_create1(EPOLL_CLOEXEC)),
      taskPosted_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      timer_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)),
      lastName_(kTimer) {
    LOG_ALWAYS_FATAL_IF(!events_.ok() || !taskPosted_.ok() || !timer_.ok(),
                        "no descriptors for the HIDL threads");
    // Edge-triggered: each event wakes one thread, and nobody has to read.
    control(EPOLL_CTL_ADD, taskPosted_.get(), EPOLLIN | EPOLLET, kTaskPosted);
    control(EPOLL_CTL_ADD, timer_.get(), EPOLLIN | EPOLLET, kTimer);
}

bool ThreadPool::control(int operation, int fd, uint32_t events, uint64_t name) {
    epoll_event event{};
    event.events = events;
    event.data.u64 = name;
    if (epoll_ctl(events_.get(), operation, fd, &event) == 0) return true;
    ALOGE("the HIDL threads cannot wait for a descriptor: %s", std::strerror(errno));
    return false;
}

// Descriptors

uint64_t ThreadPool::add(int fd, const std::weak_ptr<Readable>& readable) {
    const std::lock_guard lock(mutex_);
    if (!control(EPOLL_CTL_ADD, fd, EPOLLONESHOT, lastName_ + 1)) return 0;
    readables_[++lastName_] = readable;
    startThreadIfNoneWaits();
    return lastName_;
}

void ThreadPool::watchOnce(int fd, uint64_t name) {
    control(EPOLL_CTL_MOD, fd, EPOLLIN | EPOLLONESHOT, name);
}

void ThreadPool::watch(int fd, uint64_t name) {
    control(EPOLL_CTL_MOD, fd, EPOLLIN | EPOLLRDHUP | EPOLLET, name);
}

void ThreadPool::ignore(int fd, uint64_t name) {
    control(EPOLL_CTL_MOD, fd, EPOLLONESHOT, name);
}

void ThreadPool::remove(int fd, uint64_t name) {
    control(EPOLL_CTL_DEL, fd, 0, name);
    const std::lock_guard lock(mutex_);
    readables_.erase(name);
}

// Tasks

void ThreadPool::post(std::function<void()> task) {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    startThreadIfNoneWaits();
    eventfd_write(taskPosted_.get(), 1);
}

void ThreadPool::postLater(std::function<void()> task) {
    const std::lock_guard lock(mutex_);
    laterTasks_.push_back(std::move(task));
    startThreadIfNoneWaits();
    if (laterTasks_.size() == 1) timerfd_settime(timer_.get(), 0, &kLater, nullptr);
}

// Threads

void ThreadPool::startThreadIfNoneWaits() {
    if (waitingThreads_ > 0) return;
    try {
        std::thread([this] {
            pthread_setname_np(pthread_self(), "HIDL:pool");
            run(true);
        }).detach();
        ++waitingThreads_;
    } catch (const std::system_error& error) {
        // Those that are busy come back.
        ALOGE("cannot start a HIDL thread: %s", error.what());
    }
}

void ThreadPool::join() {
    {
        const std::lock_guard lock(mutex_);
        ++waitingThreads_;
    }
    while (true) run(false);
}

void ThreadPool::run(bool mayEnd) {
    while (true) {
        epoll_event event{};
        const int count = epoll_wait(events_.get(), &event, 1, mayEnd ? kIdleTimeMs : -1);
        std::unique_lock lock(mutex_);
        if (count == 0 && (waitingThreads_ > 1 || isIdle())) {
            --waitingThreads_;
            return;
        }
        if (count <= 0) continue;
        --waitingThreads_;
        startThreadIfNoneWaits();
        if (event.data.u64 == kTimer) {
            std::move(laterTasks_.begin(), laterTasks_.end(), std::back_inserter(tasks_));
            laterTasks_.clear();
        }
        if (event.data.u64 <= kTimer) {
            runTask(lock);
        } else {
            handle(event.data.u64, event.events, lock);
        }
        lock.lock();
        ++waitingThreads_;
    }
}

void ThreadPool::runTask(std::unique_lock<std::mutex>& lock) {
    // Writes that nobody had seen yet came as one event.
    if (tasks_.size() > 1) eventfd_write(taskPosted_.get(), 1);
    std::function<void()> task;
    if (!tasks_.empty()) {
        task = std::move(tasks_.front());
        tasks_.pop_front();
    }
    lock.unlock();
    if (task) task();
}

void ThreadPool::handle(uint64_t name, uint32_t events, std::unique_lock<std::mutex>& lock) {
    const auto found = readables_.find(name);
    const std::shared_ptr<Readable> readable =
        found == readables_.end() ? nullptr : found->second.lock();
    lock.unlock();
    const bool isAtEnd = (events & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0;
    if (readable != nullptr) readable->onReadable(isAtEnd);
}

}  // namespace android::hardware::details
