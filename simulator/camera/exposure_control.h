// Exposure of a stream's cameras: automatic, or overridden by clients.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "camera/camera_plan.h"
#include "hal.h"

namespace Simulator {

/// The automatic control is active until a client overrides it. If several clients override, the
/// latest one that has set an exposure wins.
///
/// Threading: any thread.
class ExposureControl {
  public:
    /// Identifies a client or stream controller that overrides, by its address.
    using Claimant = const void*;

    void startOverriding(Claimant claimant);

    /// @return BAD_STATE if the claimant does not override.
    Hidl::Result stopOverriding(Claimant claimant);

    /// Values outside of the sensors' limits are clamped to them.
    /// @param frameSets number of frame sets to which the settings apply; 0: until the next call
    /// @return BAD_STATE if the claimant does not override, FAILURE if numCameras is too large
    Hidl::Result set(Claimant claimant, const Hidl::ExposureGainSettings& settings,
                     uint32_t frameSets);

    /// Sets the frequency of the lamps' flicker, which the automatic control avoids.
    void setUtilityFrequency(Hidl::UtilityFrequency frequency);

    /// Exposure of the next frame set; one entry for each camera.
    /// @param brightness of what the cameras see; 1 in the usual light
    std::vector<Hidl::ExposureGain> next(size_t cameras, double brightness);

  private:
    struct Claim {
        Claimant claimant;
        /// Empty if nothing is set.
        std::vector<Hidl::ExposureGain> exposures;
        /// Frame sets that are left; 0: without limit.
        uint32_t frameSets;
    };

    std::vector<Claim>::iterator findLocked(Claimant claimant);

    std::mutex mutex_;
    Hidl::UtilityFrequency utilityFrequency_ = Hidl::UtilityFrequency::FREQUENCY_50_HZ;
    std::vector<Claim> claims_;  // in the order of their beginning
};

/// Brightness of an image with this exposure: 1 for the automatic exposure in the usual light.
double brightnessOf(const Hidl::ExposureGain& exposure);

}  // namespace Simulator
