#include "motion/sensor_models.h"

#include <cmath>
#include <utility>

#include "time_units.h"

namespace Simulator {
namespace {

const Vector kMagneticField{0, 19.6, -44.1};  // of the earth in central Europe, in microtesla

Moment momentOf(const SampleInstant& instant, const ImuSettings& warming) {
    return {instant.worldTime, rateOf(instant), temperatureAt(instant.worldTime, warming)};
}

constexpr auto kClipped = static_cast<uint32_t>(Hidl::MotionSampleStatus::CLIPPED);

}  // namespace

ImuModel::ImuModel(uint32_t sensor, const std::string& name, const Pose& place,
                   const ImuSettings& settings, std::shared_ptr<const World> world,
                   std::shared_ptr<GroundTruth> groundTruth)
    : sensor_(sensor),
      place_(place),
      settings_(settings),
      world_(std::move(world)),
      groundTruth_(std::move(groundTruth)),
      inertial_(settings, world_->seed, name) {}

Hidl::ImuData ImuModel::sample(const SampleInstant& instant) {
    const Moment moment = momentOf(instant, settings_);
    const int64_t stampError = inertial_.timestampError(moment);
    const auto motionAt = [this](int64_t worldTime) {
        return carriedBy(world_->trajectory.at(worldTime), place_);
    };
    const InertialSensor::Reading reading = inertial_.measure(motionAt(instant.worldTime), moment);
    Hidl::ImuData record{};
    record.timestamp = instant.timestamp + stampError;
    record.arrivalTimestamp = instant.arrivalTimestamp;
    record.acceleration = toFloats(reading.acceleration);
    record.angularRate = toFloats(reading.angularRate);
    record.temperature = static_cast<float>(moment.temperature);
    record.sequence = instant.sequence;
    record.sensor = sensor_;
    record.accelerationRange = static_cast<float>(settings_.accelerometer.range);
    record.angularRateRange = static_cast<float>(settings_.gyroscope.range);
    record.status = inertial_.isClipped(reading) ? kClipped : 0;
    if (groundTruth_ != nullptr) {
        groundTruth_->write(record.timestamp, motionAt(instant.worldTime + stampError),
                            inertial_.biases(moment));
    }
    return record;
}

MagModel::MagModel(uint32_t sensor, std::shared_ptr<const World> world)
    : sensor_(sensor),
      world_(std::move(world)),
      field_(world_->sensors.magnetometer, world_->seed, "magnetometer") {}

Hidl::MagData MagModel::sample(const SampleInstant& instant) {
    // It is on the headset IMU's board and warms up with it.
    const Moment moment = momentOf(instant, world_->sensors.headsetImu);
    const Pose headset = world_->trajectory.at(instant.worldTime).pose;
    const Vector reading =
        field_.measure(headset.orientation.conjugate() * kMagneticField, Vector::Zero(), moment);
    Hidl::MagData record{};
    record.timestamp = instant.timestamp;
    record.field = toFloats(reading);
    record.temperature = static_cast<float>(moment.temperature);
    record.sequence = instant.sequence;
    record.sensor = sensor_;
    record.range = static_cast<float>(world_->sensors.magnetometer.range);
    record.status = field_.isClipped(reading) ? kClipped : 0;
    return record;
}

Hidl::IadData IadModel::sample(const SampleInstant& instant) const {
    // The wearer has set the distance once; only the frame expands with temperature.
    const double warmth = 0.02 * std::sin(toSeconds(instant.worldTime) / 100);
    const double noise = 0.005 * noise_.normal(static_cast<uint64_t>(instant.worldTime));
    return {static_cast<float>(63.5 + warmth + noise)};
}

}  // namespace Simulator
