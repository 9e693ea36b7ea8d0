#include "environment/external_timing_model.h"

#include <algorithm>
#include <cmath>

namespace Simulator {

Hidl::ExternalTimestampData ExternalTimingModel::sample(const SampleInstant& instant) {
    constexpr double kFirstRateError = 50e-6;
    const bool isLocked = instant.sequence >= kLockingPulses;
    // Each pulse halves the error of the estimate.
    const int halvings = static_cast<int>(std::min(instant.sequence, kLockingPulses));
    const double rateError = std::ldexp(kFirstRateError, -halvings);
    Hidl::ExternalTimestampData record{};
    // With jitter, but not later than its reception.
    record.timestamp = std::min<int64_t>(
        instant.timestamp + std::llround(kJitter * unit_(generator_)), instant.arrivalTimestamp);
    record.arrivalTimestamp = instant.arrivalTimestamp;
    record.externalTimestamp = kExternalClock.at(instant.timestamp);
    record.clockRate =
        kExternalClock.rateAt(instant.timestamp) + rateError * std::tanh(unit_(generator_));
    record.uncertainty = static_cast<uint32_t>(kJitter);
    record.sequence = instant.sequence;
    record.source = 0;
    record.status = isLocked ? static_cast<uint32_t>(Hidl::ExternalTimestampStatus::LOCKED) : 0;
    return record;
}

}  // namespace Simulator
