// What the simulated light sensor measures of the room's light.
#pragma once

#include <cstdint>
#include <memory>
#include <random>
#include <utility>

#include "environment/room_light.h"
#include "hal.h"
#include "sampler.h"

namespace Simulator {

/// The largest illuminance that the sensor can measure, in lx; above it, it is saturated.
inline constexpr double kIlluminanceRange = 3000;

/// Rate of ADC blocks. The ADC fills a block while the previous one is sent, so there is no gap
/// between blocks.
inline constexpr uint32_t kBlockRate = 5;  // in Hz

// Threading: each model is used only by the thread of its stream's sampler. The time of an instant
// is the end of the measured interval.

class AdcFlickerModel {
  public:
    explicit AdcFlickerModel(std::shared_ptr<const RoomLight> room) : room_(std::move(room)) {}
    Hidl::AdcFlickerData sample(const SampleInstant& instant);

  private:
    const std::shared_ptr<const RoomLight> room_;
    std::mt19937 generator_;
    std::normal_distribution<double> noise_{0, 4};  // in counts
};

/// Returns the result of a perfect analysis of the block that ends at the instant.
class FlickerModel {
  public:
    explicit FlickerModel(std::shared_ptr<const RoomLight> room) : room_(std::move(room)) {}
    Hidl::FlickerData sample(const SampleInstant& instant) const;

  private:
    const std::shared_ptr<const RoomLight> room_;
};

class AmbientLightModel {
  public:
    explicit AmbientLightModel(std::shared_ptr<const RoomLight> room) : room_(std::move(room)) {}
    Hidl::AmbientLightData sample(const SampleInstant& instant) const;

  private:
    const std::shared_ptr<const RoomLight> room_;
};

}  // namespace Simulator
