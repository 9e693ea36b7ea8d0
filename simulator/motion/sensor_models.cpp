// See sensor_models.h.
#include "motion/sensor_models.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "time_units.h"

namespace Simulator {
namespace {

constexpr double kGravity = 9.81;                 // m/s^2
constexpr Vector kMagneticField{0, 19.6, -44.1};  // of the earth in central Europe, in microtesla
constexpr Vector kAccelerationBias{0.04, -0.03, 0.05};
constexpr Vector kAngularRateBias{0.002, -0.001, 0.0015};
constexpr Vector kFieldBias{3.1, -2.4, 1.7};

/// In degrees Celsius: warm from the headset's electronics, slowly up and down.
float temperature(double time, Noise& noise) {
    return static_cast<float>(36 + 2 * std::sin(time / 100) + noise.draw(0.01));
}

/// As the sensor reports it: sets CLIPPED if an axis is at the end of its range.
std::array<float, 3> reading(const Vector& vector, float range, uint32_t* status) {
    std::array<float, 3> axes{static_cast<float>(vector.x), static_cast<float>(vector.y),
                              static_cast<float>(vector.z)};
    for (float& axis : axes) {
        axis = std::clamp(axis, -range, range);
        if (std::abs(axis) == range) {
            *status |= static_cast<uint32_t>(Hal::MotionSampleStatus::CLIPPED);
        }
    }
    return axes;
}

}  // namespace

Hal::ImuData ImuModel::sample(const SampleInstant& instant) {
    const double time = toSeconds(instant.timestamp);
    // At rest the sensor feels what holds it up against gravity.
    const Vector upwards = HeadsetMotion::toHeadset({0, 0, kGravity}, time);
    const Vector acceleration =
        seenTurnedAboutZ(upwards, mountingAngle_) + kAccelerationBias + noise_.drawVector(0.02);
    const Vector angularRate = seenTurnedAboutZ(HeadsetMotion::angularRate(time), mountingAngle_) +
                               kAngularRateBias + noise_.drawVector(0.002);
    Hal::ImuData record{};
    record.timestamp = instant.timestamp;
    record.arrivalTimestamp = instant.arrivalTimestamp;
    record.acceleration = reading(acceleration, accelerationRange_, &record.status);
    record.angularRate = reading(angularRate, kAngularRateRange, &record.status);
    record.temperature = temperature(time, noise_);
    record.sequence = instant.sequence;
    record.sensor = sensor_;
    record.accelerationRange = accelerationRange_;
    record.angularRateRange = kAngularRateRange;
    return record;
}

Hal::MagData MagModel::sample(const SampleInstant& instant) {
    const double time = toSeconds(instant.timestamp);
    const Vector field =
        HeadsetMotion::toHeadset(kMagneticField, time) + kFieldBias + noise_.drawVector(0.3);
    Hal::MagData record{};
    record.timestamp = instant.timestamp;
    record.field = reading(field, kRange, &record.status);
    record.temperature = temperature(time, noise_);
    record.sequence = instant.sequence;
    record.sensor = sensor_;
    record.range = kRange;
    return record;
}

Hal::IadData IadModel::sample(const SampleInstant& instant) {
    // The wearer set it once; what changes is the frame, with its warmth.
    const double warmth = 0.02 * std::sin(toSeconds(instant.timestamp) / 100);
    return {static_cast<float>(63.5 + warmth + noise_.draw(0.005))};
}

}  // namespace Simulator
