#include "world/clocks.h"

#include <cmath>
#include <ctime>
#include <limits>

namespace Simulator {
namespace {

int64_t sum(int64_t a, int64_t b) {
    int64_t result = 0;
    if (__builtin_add_overflow(a, b, &result)) {
        return a < 0 ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
    }
    return result;
}

int64_t difference(int64_t a, int64_t b) {
    int64_t result = 0;
    if (__builtin_sub_overflow(a, b, &result)) {
        return a < 0 ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
    }
    return result;
}

int64_t now(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return time.tv_sec * 1'000'000'000 + time.tv_nsec;
}

/// How long the machine has slept, during which CLOCK_MONOTONIC stood still; to a microsecond or
/// so, as the clocks are read one after the other.
int64_t timeAsleep() {
    return now(CLOCK_BOOTTIME) - now(CLOCK_MONOTONIC);
}

std::optional<int64_t> toMonotonic(int64_t time, Hidl::TimeDomain from) {
    switch (from) {
        case Hidl::TimeDomain::MONOTONIC:
            return time;
        case Hidl::TimeDomain::BOOTTIME:
            return difference(time, timeAsleep());
        case Hidl::TimeDomain::CONTROLLER:
            return kControllerClock.toMonotonic(time);
        case Hidl::TimeDomain::EXTERNAL:
            return kExternalClock.toMonotonic(time);
    }
    return std::nullopt;
}

std::optional<int64_t> fromMonotonic(int64_t monotonic, Hidl::TimeDomain to) {
    switch (to) {
        case Hidl::TimeDomain::MONOTONIC:
            return monotonic;
        case Hidl::TimeDomain::BOOTTIME:
            return sum(monotonic, timeAsleep());
        case Hidl::TimeDomain::CONTROLLER:
            return kControllerClock.at(monotonic);
        case Hidl::TimeDomain::EXTERNAL:
            return kExternalClock.at(monotonic);
    }
    return std::nullopt;
}

}  // namespace

int64_t DriftingClock::at(int64_t monotonic) const {
    const double time = static_cast<double>(monotonic);
    const double radian = wanderPeriod * 1e9 / (2 * M_PI);  // of the wander, in ns
    const double drift = rateError * time - wander * radian * (std::cos(time / radian) - 1);
    return sum(sum(monotonic, std::llround(drift)), offset);
}

int64_t DriftingClock::toMonotonic(int64_t time) const {
    int64_t monotonic = difference(time, offset);
    // Each step leaves some millionths of the error of the one before.
    for (int step = 0; step < 4; ++step) {
        monotonic = difference(monotonic, difference(at(monotonic), time));
    }
    return monotonic;
}

double DriftingClock::rateAt(int64_t monotonic) const {
    const double seconds = static_cast<double>(monotonic) * 1e-9;
    return 1 + rateError + wander * std::sin(2 * M_PI * seconds / wanderPeriod);
}

std::optional<int64_t> translate(int64_t time, Hidl::TimeDomain from, Hidl::TimeDomain to) {
    const std::optional<int64_t> monotonic = toMonotonic(time, from);
    return monotonic ? fromMonotonic(*monotonic, to) : std::nullopt;
}

}  // namespace Simulator
