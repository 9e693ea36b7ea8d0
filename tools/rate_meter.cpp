// The measurement begins with the first callback, so its records are not counted.
#include "rate_meter.h"

#include <algorithm>

void RateMeter::deliver(Time now, uint64_t records) {
    if (begin_) {
        records_ += records;
        ++callbacks_;
        largestGap_ = std::max<std::chrono::nanoseconds>(largestGap_, now - last_);
    } else {
        begin_ = now;
    }
    last_ = now;
}

double RateMeter::perSecond(Time now) const {
    if (callbacks_ == 0) {
        return 0;
    }
    const auto period = (last_ - *begin_) / callbacks_;
    const Time end = now - last_ > 2 * period ? now : last_;
    const std::chrono::duration<double> seconds = end - *begin_;
    return seconds.count() > 0 ? static_cast<double>(records_) / seconds.count() : 0;
}

std::optional<std::chrono::nanoseconds> RateMeter::largestGap(Time now) const {
    if (!begin_) {
        return std::nullopt;
    }
    return std::max<std::chrono::nanoseconds>(largestGap_, now - last_);
}

void RateMeter::restart() {
    if (begin_) {
        begin_ = last_;
    }
    records_ = 0;
    callbacks_ = 0;
    largestGap_ = largestGap_.zero();
}
