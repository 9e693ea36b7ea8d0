// Computes the readings of one simulated controller's sensors and inputs.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "hal.h"
#include "sampler.h"
#include "world/sensor_errors.h"
#include "world/world.h"

namespace Simulator {

/// Calibration of the thumbstick's ADC.
struct ThumbstickCalibration {
    /// ADC readings at the ends of the stick's travel.
    static constexpr Hidl::ThumbstickADCRange kFactoryRange{200, 3900, 200, 3900};
    static constexpr float kFactoryDeadzone = 0.1F;

    Hidl::ThumbstickADCRange range = kFactoryRange;
    float deadzone = kFactoryDeadzone;
};

/// How a hand holds a controller.
struct Grip {
    Hand hand;
    Pose place;  ///< hand from controller
    /// Phase of the finger motion in rad, so that hands differ.
    double phase;
};

/// A function of time. Inputs without a motion of their own follow a finger that pulls, hovers and
/// lets go, and every other second the controller strikes something below it.
///
/// Threading: one thread at a time.
class ControllerModel {
  public:
    /// @param name of the controller, whose IMU has errors of its own
    ControllerModel(Hidl::ControllerAddr address, const std::string& name, const Grip& grip,
                    std::shared_ptr<const World> world);

    Hidl::ButtonData buttons(const SampleInstant& instant,
                             const ThumbstickCalibration& calibration) const;
    Hidl::CurlData curl(const SampleInstant& instant) const;
    Hidl::PrecisionPadData precisionPad(const SampleInstant& instant) const;
    Hidl::MultiTouchData multiTouch(const SampleInstant& instant) const;
    Hidl::StylusData stylus(const SampleInstant& instant) const;
    Hidl::ControllerInputADCData adc(const SampleInstant& instant) const;
    /// @param temperature of the controller, in degrees Celsius
    Hidl::ControllerImuData imu(const SampleInstant& instant, double temperature);
    Hidl::PoseOutput pose(const SampleInstant& instant) const;
    /// The collision during the sample period that ends at the instant; empty if there was none.
    std::optional<Hidl::ControllerCollisionEvent> collision(const SampleInstant& instant) const;

  private:
    Hidl::ControllerSampleHeader header(const SampleInstant& instant) const;
    Motion motionAt(int64_t worldTime) const;
    /// Position of a finger on the input of that number: 0 (away) to 1 (full pull).
    float pull(const SampleInstant& instant, uint32_t input) const;

    Hidl::ControllerAddr address_;
    Grip grip_;
    std::shared_ptr<const World> world_;
    InertialSensor inertial_;
};

/// The stick's position according to the calibration, -1 to 1 for each axis.
std::array<float, 2> thumbstickOf(const Hidl::ControllerInputADCData& adc,
                                  const ThumbstickCalibration& calibration);

/// Converts a tracked pose to the record that users of the controllers get.
Hidl::PoseInput toPoseInput(const Hidl::PoseOutput& pose);

}  // namespace Simulator
