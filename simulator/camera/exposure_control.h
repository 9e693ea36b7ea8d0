// Who decides on the exposure of a stream's cameras.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "camera/camera_plan.h"
#include "hal.h"

namespace Simulator {

/// The automatic control, until somebody overrides it. Of several who do, the one who began last
/// and has set anything has his way.
///
/// Threading: any thread.
class ExposureControl {
  public:
    /// Whoever overrides, by the address of what stands for him.
    using Claimant = const void*;

    void startOverriding(Claimant claimant);

    /// @return BAD_STATE if he does not override.
    Hal::Result stopOverriding(Claimant claimant);

    /// What is out of the sensors' limits is brought to them.
    /// @param frameSets for how many frame sets they hold; 0: until they are set anew
    /// @return BAD_STATE if he does not override, FAILURE for more cameras than there can be
    Hal::Result set(Claimant claimant, const Hal::ExposureGainSettings& settings,
                    uint32_t frameSets);

    /// Of the lamps' flicker, which the automatic control avoids.
    void setUtilityFrequency(Hal::UtilityFrequency frequency);

    /// Of the next frame set; one entry for each camera.
    /// @param brightness of what they see; 1 in the usual light
    std::vector<Hal::ExposureGain> next(size_t cameras, double brightness);

  private:
    struct Claim {
        Claimant claimant;
        /// Empty: nothing set.
        std::vector<Hal::ExposureGain> exposures;
        /// Frame sets that are left; 0: without limit.
        uint32_t frameSets;
    };

    std::vector<Claim>::iterator findLocked(Claimant claimant);

    std::mutex mutex_;
    Hal::UtilityFrequency utilityFrequency_ = Hal::UtilityFrequency::FREQUENCY_50_HZ;
    std::vector<Claim> claims_;  // in the order of their beginning
};

/// How bright the scene is in the image: 1 for the automatic exposure in the usual light.
double brightnessOf(const Hal::ExposureGain& exposure);

}  // namespace Simulator
