#define LOG_TAG "HidlTransport"

#include "transport/PeerLog.h"

#include <log/log.h>

#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

#include "Mutex.h"

namespace android::hardware::details {

namespace {

using Clock = std::chrono::steady_clock;

/** A token bucket: a line becomes available every kTimeOfLine, up to kBurst lines. */
class Budget {
  public:
    /**
     * @param leftOut if this returns true, receives how many lines were refused since the last
     * accepted one
     */
    bool take(size_t* leftOut) {
        const MutexLock lock(mutex_);
        const Clock::time_point now = Clock::now();
        spentUntil_ = std::max(spentUntil_, now - kBurst * kTimeOfLine);
        if (spentUntil_ > now - kTimeOfLine) {
            ++leftOut_;
            return false;
        }
        spentUntil_ += kTimeOfLine;
        *leftOut = std::exchange(leftOut_, 0);
        return true;
    }

  private:
    static constexpr std::chrono::milliseconds kTimeOfLine{100};
    static constexpr int kBurst = 1000;

    Mutex mutex_;
    Clock::time_point spentUntil_ GUARDED_BY(mutex_);
    size_t leftOut_ GUARDED_BY(mutex_) = 0;
};

}  // namespace

void logOfPeer(const char* format, ...) {
    static Budget* const budget = new Budget;
    size_t leftOut = 0;
    if (!budget->take(&leftOut)) return;
    char line[1024];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    if (leftOut > 0) ALOGE("%zu lines about peers were left out", leftOut);
    ALOGE("%s", line);
}

std::string printable(const char* text) {
    constexpr size_t kMaxCharacters = 200;
    std::string result(text, strnlen(text, kMaxCharacters));
    std::replace_if(
        result.begin(), result.end(), [](unsigned char c) { return c < ' ' || c > '~'; }, '?');
    return result;
}

}  // namespace android::hardware::details
