// What the simulated sensors measure: the headset's motion, with the faults of real sensors.
#pragma once

#include <cstdint>
#include <random>

#include "hal.h"
#include "motion/headset_motion.h"
#include "sampler.h"

namespace Simulator {

/// White noise, reproducible for a seed.
class Noise {
  public:
    explicit Noise(uint32_t seed) : generator_(seed) {}
    double draw(double deviation) { return deviation * distribution_(generator_); }
    Vector drawVector(double deviation) {
        return {draw(deviation), draw(deviation), draw(deviation)};
    }

  private:
    std::mt19937 generator_;
    std::normal_distribution<double> distribution_;
};

// Each model belongs to one thread, its sensor's sampler.

class ImuModel {
  public:
    static constexpr float kAccelerationRange = 156.9F;  // 16 g, in m/s^2
    static constexpr float kAngularRateRange = 34.9F;    // 2000 degrees a second, in rad/s

    /// @param mountingAngle by which the sensor's axes are turned about the headset's z, in rad
    ImuModel(uint32_t sensor, double mountingAngle, float accelerationRange = kAccelerationRange)
        : sensor_(sensor),
          mountingAngle_(mountingAngle),
          accelerationRange_(accelerationRange),
          noise_(sensor) {}

    Hal::ImuData sample(const SampleInstant& instant);

  private:
    uint32_t sensor_;
    double mountingAngle_;
    float accelerationRange_;
    Noise noise_;
};

class MagModel {
  public:
    static constexpr float kRange = 4900.0F;  // in microtesla

    explicit MagModel(uint32_t sensor) : sensor_(sensor), noise_(sensor) {}

    Hal::MagData sample(const SampleInstant& instant);

  private:
    uint32_t sensor_;
    Noise noise_;
};

class IadModel {
  public:
    Hal::IadData sample(const SampleInstant& instant);

  private:
    Noise noise_{0};
};

}  // namespace Simulator
