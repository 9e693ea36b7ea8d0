// Error models of sensors: from true values to measured ones.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "world/geometry.h"
#include "world/random.h"
#include "world/sensor_settings.h"

namespace Simulator {

/// When a sample is taken.
struct Moment {
    int64_t worldTime;   ///< ns
    double rate;         ///< of the samples, in Hz
    double temperature;  ///< of the sensor, in degrees Celsius
};

/// Temperature of sensors that began to warm up when the world began, in degrees Celsius.
double temperatureAt(int64_t worldTime, const ImuSettings& settings);

/// A random walk that is a function of time, independent of earlier calls. It begins at 0 and is
/// constant after 2^23 s (97 days).
///
/// Threading: one thread at a time.
class RandomWalk {
  public:
    RandomWalk(const Random& random, double density) : random_(random), density_(density) {}

    double at(int64_t worldTime);

  private:
    double atCell(int64_t cell) const;

    Random random_;
    double density_;
    // Interpolated linearly between the cells.
    int64_t cell_ = -1;
    double begin_ = 0;
    double end_ = 0;
};

/// Three axes with the errors of `settings`.
///
/// Threading: one thread at a time.
class TriaxialSensor {
  public:
    /// @param name of the sensor, which has errors of its own
    TriaxialSensor(const TriaxialSettings& settings, uint64_t seed, const std::string& name);

    /// The additive errors, without noise and without those that depend on the true value.
    Vector bias(const Moment& moment);

    /// Readings beyond the range are clamped to it.
    /// @param acceleration specific force on the sensor, in m/s^2
    Vector measure(const Vector& truth, const Vector& acceleration, const Moment& moment);

    /// Whether an axis is at the end of its range.
    bool isClipped(const Vector& reading) const {
        return reading.cwiseAbs().maxCoeff() >= settings_.range;
    }

  private:
    TriaxialSettings settings_;
    std::array<Random, 3> noise_;
    std::array<RandomWalk, 3> walks_;
    Vector turnOnBias_;
    Vector perKelvin_;
    Eigen::Matrix3d distortion_;
    Eigen::Matrix3d gSensitivity_;
};

/// An accelerometer and a gyroscope.
///
/// Threading: one thread at a time.
class InertialSensor {
  public:
    static constexpr double kGravity = 9.81;  // m/s^2

    struct Reading {
        Vector acceleration;  ///< specific force, in m/s^2
        Vector angularRate;   ///< rad/s
    };

    InertialSensor(const ImuSettings& settings, uint64_t seed, const std::string& name);

    /// @param motion of the sensor
    Reading measure(const Motion& motion, const Moment& moment);

    /// Whether an axis is at the end of its range.
    bool isClipped(const Reading& reading) const {
        return accelerometer_.isClipped(reading.acceleration) ||
               gyroscope_.isClipped(reading.angularRate);
    }

    /// The biases in force.
    Reading biases(const Moment& moment);

    /// Error of a sample's time stamp, in ns; positive if it is too late.
    int64_t timestampError(const Moment& moment) const;

  private:
    ImuSettings settings_;
    TriaxialSensor accelerometer_;
    TriaxialSensor gyroscope_;
    Random jitter_;
};

}  // namespace Simulator
