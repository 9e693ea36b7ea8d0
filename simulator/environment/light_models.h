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

/// The converter fills a block while the next is sent: the blocks follow each other without a gap.
inline constexpr uint32_t kBlockRate = 5;  // in Hz

// Each model belongs to one thread, its stream's sampler. An instant's time is the end of what is
// measured.

class AdcFlickerModel {
  public:
    explicit AdcFlickerModel(std::shared_ptr<const RoomLight> room) : room_(std::move(room)) {}
    Hidl::AdcFlickerData sample(const SampleInstant& instant);

  private:
    const std::shared_ptr<const RoomLight> room_;
    std::mt19937 generator_;
    std::normal_distribution<double> noise_{0, 4};  // in counts
};

/// What a perfect analysis of the block of that instant would find.
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
