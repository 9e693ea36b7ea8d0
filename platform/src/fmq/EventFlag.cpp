// Event flags on futexes.
#include <fmq/EventFlag.h>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <ctime>
#include <optional>
#include <utility>

namespace android::hardware {
namespace {

// A shared futex, not a private one: the other side is another process.
long futex(std::atomic<uint32_t>* word, int operation, uint32_t value, const timespec* deadline,
           uint32_t bitset) {
    return syscall(SYS_futex, word, operation, value, deadline, nullptr, bitset);
}

constexpr int64_t kNanosPerSecond = 1'000'000'000;

timespec timeNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

timespec deadlineAfter(int64_t nanoSeconds) {
    timespec now = timeNow();
    const int64_t fraction = now.tv_nsec + nanoSeconds % kNanosPerSecond;
    now.tv_sec += nanoSeconds / kNanosPerSecond + fraction / kNanosPerSecond;
    now.tv_nsec = fraction % kNanosPerSecond;
    return now;
}

bool isOver(const timespec& deadline) {
    const timespec now = timeNow();
    return now.tv_sec > deadline.tv_sec ||
           (now.tv_sec == deadline.tv_sec && now.tv_nsec >= deadline.tv_nsec);
}

}  // namespace

status_t EventFlag::createEventFlag(int fd, off_t offset, EventFlag** flag) {
    details::SharedMapping mapping;
    if (offset >= 0 && offset % static_cast<off_t>(sizeof(uint32_t)) == 0) {
        mapping = details::mapShared(fd, static_cast<uint64_t>(offset), sizeof(uint32_t));
    }
    const status_t status =
        createEventFlag(static_cast<std::atomic<uint32_t>*>(mapping.get()), flag);
    if (status == NO_ERROR) (*flag)->mapping_ = std::move(mapping);
    return status;
}

status_t EventFlag::createEventFlag(std::atomic<uint32_t>* word, EventFlag** flag) {
    if (flag == nullptr) return BAD_VALUE;
    *flag = word == nullptr ? nullptr : new EventFlag(word);
    return word == nullptr ? BAD_VALUE : NO_ERROR;
}

status_t EventFlag::deleteEventFlag(EventFlag** flag) {
    if (flag == nullptr) return BAD_VALUE;
    delete *flag;
    *flag = nullptr;
    return NO_ERROR;
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
    std::optional<timespec> deadline;
    while (true) {
        const uint32_t before = word_->fetch_and(~bitmask, std::memory_order_acquire);
        *state = before & bitmask;
        if (*state != 0) return NO_ERROR;
        // Reads the clock only if it has to wait.
        if (timeOutNanoSeconds != 0 && !deadline) deadline = deadlineAfter(timeOutNanoSeconds);
        const timespec* limit = deadline ? &*deadline : nullptr;
        // If the word has changed, FUTEX_WAIT returns at once without checking the deadline, so
        // check it here.
        const bool isTimedOut =
            futex(word_, FUTEX_WAIT_BITSET, before & ~bitmask, limit, bitmask) != 0 &&
            (errno == ETIMEDOUT || (deadline && isOver(*deadline)));
        *state = word_->fetch_and(~bitmask, std::memory_order_acquire) & bitmask;
        if (*state != 0) return NO_ERROR;
        if (isTimedOut) return -ETIMEDOUT;
        if (!retry) return -EAGAIN;
    }
}

}  // namespace android::hardware
