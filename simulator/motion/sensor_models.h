// What the simulated motion sensors of the headset report.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "hal.h"
#include "sampler.h"
#include "world/sensor_errors.h"
#include "world/world.h"

namespace Simulator {

// Threading: each model is used only by the thread of its sensor's sampler.

class ImuModel {
  public:
    /// @param name of the sensor, which has errors of its own
    /// @param place headset from sensor
    /// @param groundTruth receives the sensor's true motion at each sample; may be null
    ImuModel(uint32_t sensor, const std::string& name, const Pose& place,
             const ImuSettings& settings, std::shared_ptr<const World> world,
             std::shared_ptr<GroundTruth> groundTruth);

    Hidl::ImuData sample(const SampleInstant& instant);

  private:
    uint32_t sensor_;
    Pose place_;
    ImuSettings settings_;
    std::shared_ptr<const World> world_;
    std::shared_ptr<GroundTruth> groundTruth_;
    InertialSensor inertial_;
};

/// The magnetometer. It is at the place of the headset's IMU.
class MagModel {
  public:
    MagModel(uint32_t sensor, std::shared_ptr<const World> world);

    Hidl::MagData sample(const SampleInstant& instant);

  private:
    uint32_t sensor_;
    std::shared_ptr<const World> world_;
    TriaxialSensor field_;
};

class IadModel {
  public:
    explicit IadModel(uint64_t seed) : noise_(seed, "IAD sensor") {}

    Hidl::IadData sample(const SampleInstant& instant) const;

  private:
    Random noise_;
};

}  // namespace Simulator
