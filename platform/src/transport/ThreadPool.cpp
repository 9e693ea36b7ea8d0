// Implements the pool with one epoll instance: the watched descriptors, an eventfd for tasks and a
// timer for delayed tasks.
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
    // Edge-triggered: each event wakes one thread, and the descriptors need not be read.
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
    if (threads_ > 0 || fillReserve()) return lastName_;
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

void ThreadPool::post(std::function<void()> task, int process) {
    const MutexLock lock(mutex_);
    tasks_.push_back({std::move(task), process});
    fillReserve();
    eventfd_write(taskPosted_.get(), 1);
}

void ThreadPool::postLater(std::function<void()> task) {
    const MutexLock lock(mutex_);
    laterTasks_.push_back(std::move(task));
    fillReserve();
    if (laterTasks_.size() == 1) timerfd_settime(timer_.get(), 0, &kLater, nullptr);
}

// Threads

bool ThreadPool::startThread() {
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

bool ThreadPool::fillReserve() {
    isShort_ = false;
    while (waitingThreads_ < reserve_ && !isShort_) isShort_ = !startThread();
    return waitingThreads_ > 0;
}

void ThreadPool::keepReserve() {
    if (isAsOnDevice()) return;
    const MutexLock lock(mutex_);
    reserve_ = kReserve;
    fillReserve();
}

void ThreadPool::setMaxBusyThreads(size_t count) {
    const MutexLock lock(mutex_);
    maxThreads_ = std::min(count, kMaxThreads) + 1;
}

bool ThreadPool::mayGoOn() {
    // If this is the only thread, it must do the work itself.
    return fillReserve() || threads_ == 1;
}

bool ThreadPool::mayOccupyThread(int process) const {
    const auto occupied = threadsOfProcesses_.find(process);
    return occupied == threadsOfProcesses_.end() ||
           occupied->second < (isShort_ ? 1 : kMaxThreadsOfProcess);
}

void ThreadPool::occupy(int process) {
    if (process != kNoProcess) ++threadsOfProcesses_[process];
}

void ThreadPool::vacate(int process) {
    const auto occupied = threadsOfProcesses_.find(process);
    if (occupied != threadsOfProcesses_.end() && --occupied->second == 0) {
        threadsOfProcesses_.erase(occupied);
    }
}

void ThreadPool::join() {
    {
        const MutexLock lock(mutex_);
        ++maxThreads_;
        ++threads_;
        ++waitingThreads_;
    }
    keepReserve();
    while (true) run(false);
}

void ThreadPool::run(bool mayEnd) {
    const MutexLock lock(mutex_);
    while (true) {
        if (isShort_) fillReserve();
        runTasks();
        // If tasks are left because no thread could be started, wake up to try again.
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
            for (auto& task : laterTasks_) tasks_.push_back({std::move(task), kNoProcess});
            laterTasks_.clear();
        } else if (event.data.u64 != kTaskPosted) {
            --waitingThreads_;
            handle(event.data.u64, event.events);
            ++waitingThreads_;
        }
    }
}

void ThreadPool::runTasks() {
    while (true) {
        const auto next = std::find_if(
            tasks_.begin(), tasks_.end(),
            [this](const Task& task) REQUIRES(mutex_) { return mayOccupyThread(task.process); });
        if (next == tasks_.end()) return;
        --waitingThreads_;
        if (!mayGoOn()) {
            ++waitingThreads_;
            return;
        }
        Task task = std::move(*next);
        tasks_.erase(next);
        occupy(task.process);
        // Several posts may have arrived as one event, so wake a thread for the remaining tasks.
        if (!tasks_.empty()) eventfd_write(taskPosted_.get(), 1);
        mutex_.unlock();
        task.run();
        task.run = nullptr;
        mutex_.lock();
        vacate(task.process);
        ++waitingThreads_;
    }
}

void ThreadPool::handle(uint64_t name, uint32_t events) {
    const auto found = readables_.find(name);
    std::shared_ptr<Readable> readable = found == readables_.end() ? nullptr : found->second.lock();
    if (readable == nullptr) return;
    const int process = readable->process();
    const bool mayServe = mayGoOn() && mayOccupyThread(process);
    if (mayServe) occupy(process);
    mutex_.unlock();
    const bool isAtEnd = (events & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0;
    readable->onReadable(isAtEnd, mayServe);
    readable = nullptr;
    mutex_.lock();
    if (mayServe) vacate(process);
}

}  // namespace android::hardware::details
