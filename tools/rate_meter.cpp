// The records of the first callback came before the measurement began and are not counted.
#include "rate_meter.h"

void RateMeter::deliver(Time now, uint64_t records) {
    if (begin_) {
        records_ += records;
        ++callbacks_;
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

void RateMeter::restart() {
    if (begin_) {
        begin_ = last_;
    }
    records_ = 0;
    callbacks_ = 0;
}
