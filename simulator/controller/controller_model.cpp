#include "controller/controller_model.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "time_units.h"
#include "world/clocks.h"

namespace Simulator {
namespace {

constexpr float kPressed = 0.75F;  // of a full pull
constexpr float kTouched = 0.05F;
constexpr uint32_t kButtons = 7;
constexpr auto kClippedBit = static_cast<uint32_t>(Hidl::MotionSampleStatus::CLIPPED);

// Collisions.
constexpr int64_t kBlowInterval = 2'000'000'000;  // ns
constexpr double kBlowDuration = 0.008;           // s
constexpr double kBlowAcceleration = 60;          // m/s^2, at most

int64_t blowBefore(int64_t worldTime) {
    return worldTime / kBlowInterval * kBlowInterval;
}

/// Adds the nearest blow to a motion: a displacement with the shape of sin^4, which begins and ends
/// at rest.
void addBlow(int64_t worldTime, Motion* motion) {
    const int64_t blow = blowBefore(worldTime + kBlowInterval / 2);
    const double phase = M_PI * (toSeconds(worldTime - blow) / kBlowDuration + 0.5);
    if (blow == 0 || phase <= 0 || phase >= M_PI) {
        return;
    }
    const double rate = M_PI / kBlowDuration;
    const double depth = kBlowAcceleration / (4 * rate * rate);
    const double sine = std::sin(phase);
    const double cosine = std::cos(phase);
    motion->pose.position.z() -= depth * std::pow(sine, 4);
    motion->velocity.z() -= depth * 4 * std::pow(sine, 3) * cosine * rate;
    motion->acceleration.z() -= depth * rate * rate * 4 * sine * sine * (3 - 4 * sine * sine);
}

/// Converts a value from -1 to 1 to the ADC's scale.
uint16_t convert(double value) {
    constexpr auto kRange = ThumbstickCalibration::kFactoryRange;
    const double way = kRange.maximumX - kRange.minimumX;
    return static_cast<uint16_t>(kRange.minimumX + std::lround((value + 1) / 2 * way));
}

float calibrated(uint16_t reading, uint16_t minimum, uint16_t maximum) {
    const auto way = static_cast<float>(maximum - minimum);
    return std::clamp(2 * static_cast<float>(reading - minimum) / way - 1, -1.0F, 1.0F);
}

}  // namespace

Hidl::ControllerSampleHeader ControllerModel::header(const SampleInstant& instant) const {
    return {address_, instant.timestamp, instant.arrivalTimestamp, instant.sequence};
}

ControllerModel::ControllerModel(Hidl::ControllerAddr address, const std::string& name,
                                 const Grip& grip, std::shared_ptr<const World> world)
    : address_(address),
      grip_(grip),
      world_(std::move(world)),
      inertial_(world_->sensors.controllerImu, world_->seed, name) {}

Motion ControllerModel::motionAt(int64_t worldTime) const {
    Motion motion = carriedBy(world_->trajectory.handMotion(grip_.hand, worldTime), grip_.place);
    addBlow(worldTime, &motion);
    return motion;
}

float ControllerModel::pull(const SampleInstant& instant, uint32_t input) const {
    // Each input has its own period, so that all combinations occur.
    const double period = 2 + 0.25 * input;
    const double wave = std::sin(2 * M_PI / period * toSeconds(instant.worldTime) + grip_.phase);
    return static_cast<float>(std::max(0.0, wave));
}

Hidl::ButtonData ControllerModel::buttons(const SampleInstant& instant,
                                          const ThumbstickCalibration& calibration) const {
    Hidl::ButtonData record{};
    record.header = header(instant);
    for (uint32_t button = 0; button < kButtons; ++button) {
        const float pulled = pull(instant, button);
        record.pressed |= (pulled > kPressed ? 1U : 0U) << button;
        record.touched |= (pulled > kTouched ? 1U : 0U) << button;
        record.approached |= (pulled > 0 ? 1U : 0U) << button;
    }
    record.trigger = pull(instant, static_cast<uint32_t>(Hidl::ControllerButton::TRIGGER));
    record.grip = pull(instant, static_cast<uint32_t>(Hidl::ControllerButton::GRIP));
    record.thumbstick = thumbstickOf(adc(instant), calibration);
    return record;
}

Hidl::CurlData ControllerModel::curl(const SampleInstant& instant) const {
    Hidl::CurlData record{};
    record.header = header(instant);
    for (uint32_t finger = 0; finger < 5; ++finger) {
        record.curl[finger] = pull(instant, finger);
    }
    for (uint32_t gap = 0; gap < 3; ++gap) {
        record.splay[gap] = 0.3F * (1 - pull(instant, gap + 1));
    }
    record.sampleTime = toSeconds(instant.timestamp);
    record.confidence = 0.95F;
    return record;
}

Hidl::PrecisionPadData ControllerModel::precisionPad(const SampleInstant& instant) const {
    using Phase = Hidl::PrecisionPadPhase;
    const float pulled = pull(instant, 1);
    Hidl::PrecisionPadData record{};
    record.header = header(instant);
    record.phase = pulled > kPressed   ? Phase::PRESSED
                   : pulled > kTouched ? Phase::TOUCHING
                   : pulled > 0        ? Phase::HOVERING
                                       : Phase::IDLE;
    record.position = thumbstickOf(adc(instant), {});
    record.force = 4 * pulled;
    record.contactArea = pulled > kTouched ? 30 + 40 * pulled : 0;
    record.proximity = static_cast<uint8_t>(20 * (1 - pulled));
    return record;
}

Hidl::MultiTouchData ControllerModel::multiTouch(const SampleInstant& instant) const {
    constexpr float kFullScale = 65'535;
    Hidl::MultiTouchData record{};
    record.header = header(instant);
    for (uint8_t finger = 0; finger < 3; ++finger) {
        const float pulled = pull(instant, finger);
        if (pulled <= kTouched) {
            continue;
        }
        Hidl::TouchPoint& point = record.points[finger];
        point.touching = 1;
        point.finger = finger;
        point.pressed = pulled > kPressed ? 1 : 0;
        point.x = static_cast<uint16_t>(kFullScale * static_cast<float>(finger + 1) / 4);
        point.y = static_cast<uint16_t>(kFullScale * pulled);
        point.force = static_cast<uint8_t>(255 * pulled);
        point.majorAxis = static_cast<uint8_t>(60 + 60 * pulled);
        point.minorAxis = static_cast<uint8_t>(50 + 50 * pulled);
    }
    return record;
}

Hidl::StylusData ControllerModel::stylus(const SampleInstant& instant) const {
    return {header(instant), pull(instant, 2)};
}

Hidl::ControllerInputADCData ControllerModel::adc(const SampleInstant& instant) const {
    const double time = toSeconds(instant.worldTime);
    // The stick goes round, from the middle to the rim and back.
    const double radius = 0.5 + 0.5 * std::sin(0.7 * time + grip_.phase);
    const double angle = 3 * time + grip_.phase;
    return {address_, convert(2 * pull(instant, 0) - 1), convert(2 * pull(instant, 1) - 1),
            convert(radius * std::cos(angle)), convert(radius * std::sin(angle))};
}

Hidl::ControllerImuData ControllerModel::imu(const SampleInstant& instant, double temperature) {
    const Moment moment{instant.worldTime, rateOf(instant), temperature};
    const InertialSensor::Reading reading = inertial_.measure(motionAt(instant.worldTime), moment);
    Hidl::ControllerImuData record{};
    record.controller = address_;
    record.timestamp = instant.timestamp + inertial_.timestampError(moment);
    record.arrivalTimestamp = instant.arrivalTimestamp;
    record.acceleration = toFloats(reading.acceleration);
    record.angularRate = toFloats(reading.angularRate);
    record.temperature = static_cast<float>(temperature);
    record.sequence = instant.sequence;
    record.status = inertial_.isClipped(reading) ? kClippedBit : 0;
    record.controllerTime = static_cast<uint32_t>(kControllerClock.at(instant.timestamp) / 1000);
    return record;
}

Hidl::PoseOutput ControllerModel::pose(const SampleInstant& instant) const {
    using Status = Hidl::ControllerPoseStatus;
    const Motion motion = motionAt(instant.worldTime);
    const Eigen::Quaternionf orientation = motion.pose.orientation.cast<float>();
    const auto alongWorld = [&](const Vector& vector) {
        return toFloats(motion.pose.orientation * vector);
    };
    Hidl::PoseOutput record{};
    record.controller = address_;
    record.timestamp = instant.timestamp;
    record.position = toFloats(motion.pose.position);
    record.orientation =
        std::array<float, 4>{orientation.x(), orientation.y(), orientation.z(), orientation.w()};
    record.linearVelocity = toFloats(motion.velocity);
    record.angularVelocity = alongWorld(motion.angularRate);
    record.linearAcceleration = toFloats(motion.acceleration);
    record.angularAcceleration = alongWorld(motion.angularAcceleration);
    record.status = static_cast<uint32_t>(Status::POSITION_VALID) |
                    static_cast<uint32_t>(Status::ORIENTATION_VALID);
    record.sequence = instant.sequence;
    record.confidence = 0.98F;
    return record;
}

std::optional<Hidl::ControllerCollisionEvent> ControllerModel::collision(
    const SampleInstant& instant) const {
    const int64_t blow = blowBefore(instant.worldTime);
    const int64_t ago = instant.worldTime - blow;
    if (blow == 0 || ago >= instant.period.count()) {
        return std::nullopt;
    }
    Hidl::ControllerCollisionEvent record{};
    record.controller = address_;
    record.timestamp = instant.timestamp - ago;
    record.direction = toFloats(motionAt(blow).pose.orientation.conjugate() * Vector::UnitZ());
    record.peakAcceleration = static_cast<float>(kBlowAcceleration);
    record.duration = static_cast<float>(1000 * kBlowDuration);
    record.sequence = instant.sequence;
    record.kind = Hidl::CollisionKind::OBJECT;
    record.confidence = 0.9F;
    return record;
}

std::array<float, 2> thumbstickOf(const Hidl::ControllerInputADCData& adc,
                                  const ThumbstickCalibration& calibration) {
    const auto& range = calibration.range;
    const float x = calibrated(adc.thumbstickX, range.minimumX, range.maximumX);
    const float y = calibrated(adc.thumbstickY, range.minimumY, range.maximumY);
    return std::hypot(x, y) <= calibration.deadzone ? std::array<float, 2>{}
                                                    : std::array<float, 2>{x, y};
}

Hidl::PoseInput toPoseInput(const Hidl::PoseOutput& pose) {
    const auto& q = pose.orientation;
    const auto g = static_cast<float>(InertialSensor::kGravity);
    Hidl::PoseInput record{};
    record.controller = pose.controller;
    record.timestamp = pose.timestamp;
    record.position = pose.position;
    record.orientation = pose.orientation;
    record.linearVelocity = pose.linearVelocity;
    record.angularVelocity = pose.angularVelocity;
    record.linearAcceleration = pose.linearAcceleration;
    record.angularAcceleration = pose.angularAcceleration;
    for (size_t i = 0; i < 6; ++i) {
        record.variance[i] = 1e-5F * (2 - pose.confidence);
    }
    // The world's down direction in the controller's axes.
    record.gravity[0] = -g * 2 * (q[0] * q[2] - q[3] * q[1]);
    record.gravity[1] = -g * 2 * (q[1] * q[2] + q[3] * q[0]);
    record.gravity[2] = -g * (1 - 2 * (q[0] * q[0] + q[1] * q[1]));
    record.status = pose.status;
    record.sequence = pose.sequence;
    return record;
}

}  // namespace Simulator
