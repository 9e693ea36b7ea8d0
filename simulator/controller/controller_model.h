// What the sensors and inputs of one simulated controller report at a moment.
#pragma once

#include <cstdint>

#include "controller/hand_motion.h"
#include "hal.h"
#include "motion/sensor_models.h"
#include "sampler.h"

namespace Simulator {

/// How the thumbstick's converter is read.
struct ThumbstickCalibration {
    /// What the converter gives at the ends of the stick's way.
    static constexpr Hal::ThumbstickADCRange kFactoryRange{200, 3900, 200, 3900};
    static constexpr float kFactoryDeadzone = 0.1F;

    Hal::ThumbstickADCRange range = kFactoryRange;
    float deadzone = kFactoryDeadzone;
};

/// A function of time but for the noise of the IMU. A finger that pulls, hovers and lets go moves
/// everything that has no motion of its own.
///
/// Threading: one thread at a time.
class ControllerModel {
  public:
    /// @param phase, side as of handPose
    ControllerModel(Hal::ControllerAddr address, double phase, double side)
        : address_(address),
          phase_(phase),
          side_(side),
          noise_(static_cast<uint32_t>(address.address)) {}

    Hal::ButtonData buttons(const SampleInstant& instant,
                            const ThumbstickCalibration& calibration) const;
    Hal::CurlData curl(const SampleInstant& instant) const;
    Hal::PrecisionPadData precisionPad(const SampleInstant& instant) const;
    Hal::MultiTouchData multiTouch(const SampleInstant& instant) const;
    Hal::StylusData stylus(const SampleInstant& instant) const;
    Hal::ControllerInputADCData adc(const SampleInstant& instant) const;
    Hal::ControllerImuData imu(const SampleInstant& instant);
    Hal::PoseOutput pose(const SampleInstant& instant) const;
    Hal::ControllerCollisionEvent collision(const SampleInstant& instant) const;

  private:
    Hal::ControllerSampleHeader header(const SampleInstant& instant) const;
    HandPose motion(const SampleInstant& instant) const;
    /// Of a finger on the input of that number: 0 (away) to 1.
    float pull(const SampleInstant& instant, uint32_t input) const;

    Hal::ControllerAddr address_;
    double phase_;
    double side_;
    Noise noise_;
};

/// The stick's place, each axis -1 to 1, as the calibration has it.
std::array<float, 2> thumbstickOf(const Hal::ControllerInputADCData& adc,
                                  const ThumbstickCalibration& calibration);

/// A tracked pose, as those who use the controllers get it.
Hal::PoseInput toPoseInput(const Hal::PoseOutput& pose);

}  // namespace Simulator
