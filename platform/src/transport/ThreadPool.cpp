// The pool on one epoll instance: descriptors, an eventfd for tasks and a timer for later ones.
#define LOG_TAG "HidlTransport"

#include "transport/ThreadPool.h"

#include <hidl/ServiceManagement.h>
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
      maxThreads_(isAsOnDevice() ? 2 : kMaxThreads),
      lastName_(kTimer) {
    LOG_ALWAYS_FATAL_IF(!events_.ok() || !taskPosted_.ok() || !timer_.ok(),
                        "no descriptors for the HIDL threads");
    pthread_atfork(nullptr, nullptr, [] { isInherited_ = true; });
    // Edge-triggered: each event wakes one thread, and nobody has to read.
    control(EPOLL_CTL_ADD, taskPosted_.get(), EPOLLIN | EPOLLET, kTaskPosted);
    control(EPOLL_CTL_ADD, timer_.get(), EPOLLIN | EPOLLET, kTimer);
}

bool ThreadPool::control(int operation, int fd, uint32_t events, uint64_t name) {
    epoll_event event{};
    event.events = events;
    event.data.u64 = name;
    return epoll_ctl(events_.get(), operation, fd, &event) == 0;
}

// Descriptors

uint64_t ThreadPool::add(int fd, const std::weak_ptr<Readable>& readable) {
    const MutexLock lock(mutex_);
    if (!control(EPOLL_CTL_ADD, fd, EPOLLONESHOT, lastName_ + 1)) return 0;
    readables_[++lastName_] = readable;
    if (threads_ > 0 || startThreadIfNoneWaits()) return lastName_;
    control(EPOLL_CTL_DEL, fd, 0, 0);
    readables_.erase(lastName_);
    return 0;
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
    const MutexLock lock(mutex_);
    readables_.erase(name);
}

// Tasks

void ThreadPool::post(std::function<void()> task) {
    const MutexLock lock(mutex_);
    tasks_.push_back(std::move(task));
    startThreadIfNoneWaits();
    eventfd_write(taskPosted_.get(), 1);
}

void ThreadPool::postLater(std::function<void()> task) {
    const MutexLock lock(mutex_);
    laterTasks_.push_back(std::move(task));
    startThreadIfNoneWaits();
    if (laterTasks_.size() == 1) timerfd_settime(timer_.get(), 0, &kLater, nullptr);
}

// Threads

bool ThreadPool::startThreadIfNoneWaits() {
    if (waitingThreads_ > 0) return true;
    if (threads_ >= maxThreads_) return false;
    try {
        std::thread([this] {
            pthread_setname_np(pthread_self(), "HIDL:pool");
            run(true);
        }).detach();
    } catch (const std::system_error&) {
        return false;
    }
    ++threads_;
    ++waitingThreads_;
    return true;
}

void ThreadPool::setMaxBusyThreads(size_t count) {
    const MutexLock lock(mutex_);
    maxThreads_ = std::min(count, kMaxThreads) + 1;
}

bool ThreadPool::mayGoOn() {
    // The only one has nobody to leave it to.
    return startThreadIfNoneWaits() || threads_ == 1;
}

void ThreadPool::join() {
    {
        const MutexLock lock(mutex_);
        ++maxThreads_;
        ++threads_;
        ++waitingThreads_;
        reserve_ = 2;
    }
    while (true) run(false);
}

void ThreadPool::run(bool mayEnd) {
    const MutexLock lock(mutex_);
    while (true) {
        runTasks();
        // With tasks that no thread can be started for, another attempt is due.
        const int timeoutMs = mayEnd || !tasks_.empty() ? kIdleTimeMs : -1;
        mutex_.unlock();
        epoll_event event{};
        const int count = epoll_wait(events_.get(), &event, 1, timeoutMs);
        mutex_.lock();
        if (count == 0 && mayEnd && (waitingThreads_ > reserve_ || isIdle())) {
            --waitingThreads_;
            --threads_;
            return;
        }
        if (count <= 0) continue;
        if (event.data.u64 == kTimer) {
            std::move(laterTasks_.begin(), laterTasks_.end(), std::back_inserter(tasks_));
            laterTasks_.clear();
        } else if (event.data.u64 != kTaskPosted) {
            --waitingThreads_;
            const bool mayServe = mayGoOn();
            handle(event.data.u64, event.events, mayServe);
            ++waitingThreads_;
        }
    }
}

void ThreadPool::runTasks() {
    while (!tasks_.empty()) {
        --waitingThreads_;
        if (mayGoOn()) {
            std::function<void()> task = std::move(tasks_.front());
            tasks_.pop_front();
            // Writes that nobody had seen yet came as one event.
            if (!tasks_.empty()) eventfd_write(taskPosted_.get(), 1);
            mutex_.unlock();
            task();
            task = nullptr;
            mutex_.lock();
            ++waitingThreads_;
        } else {
            ++waitingThreads_;
            return;
        }
    }
}

void ThreadPool::handle(uint64_t name, uint32_t events, bool mayServe) {
    const auto found = readables_.find(name);
    std::shared_ptr<Readable> readable = found == readables_.end() ? nullptr : found->second.lock();
    mutex_.unlock();
    const bool isAtEnd = (events & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0;
    if (readable != nullptr) readable->onReadable(isAtEnd, mayServe);
    readable = nullptr;
    mutex_.lock();
}

}  // namespace android::hardware::details
