// See exposure_control.h.
#include "camera/exposure_control.h"

#include <algorithm>

namespace Simulator {
namespace {

/// What is no number becomes the least.
template <typename Value>
Value limited(Value value, Value least, Value greatest) {
    return value >= least ? std::min(value, greatest) : least;
}

Hal::ExposureGain limited(const Hal::ExposureGain& exposure) {
    constexpr ExposureLimits kLimits;
    return {limited(exposure.exposureTime, kLimits.minExposureTime, kLimits.maxExposureTime),
            limited(exposure.analogGain, kLimits.minGain, kLimits.maxAnalogGain),
            limited(exposure.digitalGain, kLimits.minGain, kLimits.maxDigitalGain)};
}

}  // namespace

void ExposureControl::startOverriding(Claimant claimant) {
    const std::lock_guard lock{mutex_};
    if (findLocked(claimant) == claims_.end()) {
        claims_.push_back({claimant, {}, 0});
    }
}

Hal::Result ExposureControl::stopOverriding(Claimant claimant) {
    const std::lock_guard lock{mutex_};
    const auto claim = findLocked(claimant);
    if (claim == claims_.end()) {
        return Hal::Result::BAD_STATE;
    }
    claims_.erase(claim);
    return Hal::Result::SUCCESS;
}

Hal::Result ExposureControl::set(Claimant claimant, const Hal::ExposureGainSettings& settings,
                                 uint32_t frameSets) {
    if (settings.numCameras > settings.cameras.size()) {
        return Hal::Result::FAILURE;
    }
    const std::lock_guard lock{mutex_};
    const auto claim = findLocked(claimant);
    if (claim == claims_.end()) {
        return Hal::Result::BAD_STATE;
    }
    claim->exposures.clear();
    for (uint32_t i = 0; i < settings.numCameras; ++i) {
        claim->exposures.push_back(limited(settings.cameras[i]));
    }
    claim->frameSets = frameSets;
    return Hal::Result::SUCCESS;
}

std::vector<Hal::ExposureGain> ExposureControl::next(size_t cameras) {
    const std::lock_guard lock{mutex_};
    std::vector<Hal::ExposureGain> exposures;
    const auto claim = std::find_if(claims_.rbegin(), claims_.rend(),
                                    [](const Claim& c) { return !c.exposures.empty(); });
    if (claim != claims_.rend()) {
        exposures = claim->exposures;
        if (claim->frameSets > 0 && --claim->frameSets == 0) {
            claim->exposures.clear();
        }
    }
    exposures.resize(cameras, kAutomaticExposure);
    return exposures;
}

std::vector<ExposureControl::Claim>::iterator ExposureControl::findLocked(Claimant claimant) {
    return std::find_if(claims_.begin(), claims_.end(),
                        [&](const Claim& claim) { return claim.claimant == claimant; });
}

double brightnessOf(const Hal::ExposureGain& exposure) {
    return static_cast<double>(exposure.exposureTime) /
           static_cast<double>(kAutomaticExposure.exposureTime) * exposure.analogGain *
           exposure.digitalGain;
}

}  // namespace Simulator
