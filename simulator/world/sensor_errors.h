// Errors of sensors: from the truth to what they measure.
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

/// A random walk that is a function of time, whatever was asked before. It begins with 0 and holds
/// for 2^23 s (97 days), after which it stays.
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

    /// The errors that are added to the truth, without the noise and those that depend on the
    /// truth.
    Vector bias(const Moment& moment);

    /// Readings beyond the range are clamped to it.
    /// @param acceleration that the sensor feels, in m/s^2
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

    /// How much later than the truth the time stamp of a sample is, in ns.
    int64_t timestampError(const Moment& moment) const;

  private:
    ImuSettings settings_;
    TriaxialSensor accelerometer_;
    TriaxialSensor gyroscope_;
    Random jitter_;
};

}  // namespace Simulator
