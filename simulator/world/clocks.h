// The clocks of the simulated system, and translation between them.
#pragma once

#include <cstdint>
#include <optional>

#include "hal.h"

namespace Simulator {

/// A clock with its own quartz: its rate has a small error, which varies.
///
/// Times are in ns; beyond the range of 64 bits they saturate. Threading: immutable, for any
/// thread.
struct DriftingClock {
    /// About what the clock shows when CLOCK_MONOTONIC shows 0.
    int64_t offset;
    /// Relative error of the rate; above 0 if the clock is too fast.
    double rateError;
    /// Amplitude of the rate's variation, and its period in seconds.
    double wander;
    double wanderPeriod;

    /// What it shows when CLOCK_MONOTONIC shows `monotonic`.
    int64_t at(int64_t monotonic) const;

    /// What CLOCK_MONOTONIC shows when it shows `time`.
    int64_t toMonotonic(int64_t time) const;

    /// The clock's seconds per second of CLOCK_MONOTONIC.
    double rateAt(int64_t monotonic) const;
};

inline constexpr DriftingClock kControllerClock{-5'000'000'000, -8e-6, 0.2e-6, 500};
inline constexpr DriftingClock kExternalClock{1'234'567'890'123, 12e-6, 0.5e-6, 300};

/// @return empty if one of the domains does not exist
std::optional<int64_t> translate(int64_t time, Hidl::TimeDomain from, Hidl::TimeDomain to);

}  // namespace Simulator
