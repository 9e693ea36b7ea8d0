// Event flags on futexes.
#include <fmq/EventFlag.h>

#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <ctime>
#include <new>

#include "fmq/SharedMapping.h"

namespace android::hardware {
namespace {

// Not process-private: the other side is another process.
long futex(std::atomic<uint32_t>* word, int operation, uint32_t value, const timespec* deadline,
           uint32_t bitset) {
    return syscall(SYS_futex, word, operation, value, deadline, nullptr, bitset);
}

constexpr int64_t kNanosPerSecond = 1'000'000'000;

timespec deadlineAfter(int64_t nanoSeconds) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const int64_t fraction = now.tv_nsec + nanoSeconds % kNanosPerSecond;
    now.tv_sec += nanoSeconds / kNanosPerSecond + fraction / kNanosPerSecond;
    now.tv_nsec = fraction % kNanosPerSecond;
    return now;
}

}  // namespace

status_t EventFlag::createEventFlag(int fd, off_t offset, EventFlag** flag) {
    if (flag == nullptr) return BAD_VALUE;
    *flag = nullptr;
    if (offset < 0 || offset % static_cast<off_t>(sizeof(uint32_t)) != 0) return BAD_VALUE;
    const details::SharedMapping mapping =
        details::mapShared(fd, static_cast<uint64_t>(offset), sizeof(uint32_t));
    if (mapping.address == nullptr) return BAD_VALUE;
    auto* word = static_cast<std::atomic<uint32_t>*>(mapping.address);
    *flag = new (std::nothrow) EventFlag(word, mapping.base, mapping.size);
    if (*flag == nullptr) {
        munmap(mapping.base, mapping.size);
        return NO_MEMORY;
    }
    return NO_ERROR;
}

status_t EventFlag::createEventFlag(std::atomic<uint32_t>* word, EventFlag** flag) {
    if (flag == nullptr) return BAD_VALUE;
    *flag = word == nullptr ? nullptr : new (std::nothrow) EventFlag(word, nullptr, 0);
    if (*flag == nullptr) return word == nullptr ? BAD_VALUE : NO_MEMORY;
    return NO_ERROR;
}

status_t EventFlag::deleteEventFlag(EventFlag** flag) {
    if (flag == nullptr) return BAD_VALUE;
    delete *flag;
    *flag = nullptr;
    return NO_ERROR;
}

EventFlag::~EventFlag() {
    if (mapping_ != nullptr) munmap(mapping_, mappingSize_);
}

status_t EventFlag::wake(uint32_t bitmask) {
    if (bitmask == 0) return NO_ERROR;
    const uint32_t before = word_->fetch_or(bitmask, std::memory_order_release);
    if ((~before & bitmask) == 0) return NO_ERROR;
    if (futex(word_, FUTEX_WAKE_BITSET, INT_MAX, nullptr, bitmask) < 0) return -errno;
    return NO_ERROR;
}

status_t EventFlag::wait(uint32_t bitmask, uint32_t* state, int64_t timeOutNanoSeconds,
                         bool retry) {
    if (bitmask == 0 || state == nullptr || timeOutNanoSeconds < 0) return BAD_VALUE;
    timespec deadline{};
    bool isDeadlineSet = false;
    while (true) {
        const uint32_t before = word_->fetch_and(~bitmask, std::memory_order_acquire);
        *state = before & bitmask;
        if (*state != 0) return NO_ERROR;
        // The clock is read only by those who have to wait.
        if (timeOutNanoSeconds != 0 && !isDeadlineSet) {
            deadline = deadlineAfter(timeOutNanoSeconds);
            isDeadlineSet = true;
        }
        const timespec* limit = timeOutNanoSeconds == 0 ? nullptr : &deadline;
        const bool isTimedOut =
            futex(word_, FUTEX_WAIT_BITSET, before & ~bitmask, limit, bitmask) != 0 &&
            errno == ETIMEDOUT;
        *state = word_->fetch_and(~bitmask, std::memory_order_acquire) & bitmask;
        if (*state != 0) return NO_ERROR;
        if (isTimedOut) return -ETIMEDOUT;
        if (!retry) return -EAGAIN;
    }
}

}  // namespace android::hardware
