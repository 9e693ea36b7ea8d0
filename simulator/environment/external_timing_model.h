// The pulses of the external clock, as the headset sees them.
#pragma once

#include <cstdint>
#include <random>

#include "hal.h"
#include "sampler.h"
#include "world/clocks.h"

namespace Simulator {

/// Threading: only the thread of the stream's sampler.
class ExternalTimingModel {
  public:
    /// Standard deviation of the time stamp of a pulse, in ns.
    static constexpr double kJitter = 2000;
    /// Number of pulses until the estimate of the clock's rate has settled.
    static constexpr uint32_t kLockingPulses = 10;

    Hidl::ExternalTimestampData sample(const SampleInstant& instant);

  private:
    std::mt19937 generator_;
    std::normal_distribution<double> unit_{0, 1};
};

}  // namespace Simulator
