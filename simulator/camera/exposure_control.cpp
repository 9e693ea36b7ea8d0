#include "camera/exposure_control.h"

#include <algorithm>

namespace Simulator {
namespace {

/// Clamps a value; NaN becomes the minimum.
template <typename Value>
Value limited(Value value, Value least, Value greatest) {
    return value >= least ? std::min(value, greatest) : least;
}

Hidl::ExposureGain limited(const Hidl::ExposureGain& exposure) {
    constexpr ExposureLimits kLimits;
    return {limited(exposure.exposureTime, kLimits.minExposureTime, kLimits.maxExposureTime),
            limited(exposure.analogGain, kLimits.minGain, kLimits.maxAnalogGain),
            limited(exposure.digitalGain, kLimits.minGain, kLimits.maxDigitalGain)};
}

/// An exposure of one period of the lamps, unless that is too bright, so that flicker has no
/// effect; the gain compensates for the rest.
Hidl::ExposureGain automaticExposure(double brightness, Hidl::UtilityFrequency frequency) {
    constexpr ExposureLimits kLimits;
    constexpr double kUnfit = 4e6;
    const double period = frequency == Hidl::UtilityFrequency::FREQUENCY_50_HZ   ? 1e9 / 100
                          : frequency == Hidl::UtilityFrequency::FREQUENCY_60_HZ ? 1e9 / 120
                                                                                 : kUnfit;
    const double wanted = static_cast<double>(kAutomaticExposure.exposureTime) *
                          kAutomaticExposure.analogGain / std::max(brightness, 1e-6);
    const double time = std::min(period, wanted);
    const auto gain = static_cast<float>(wanted / time);
    const float analogGain = std::min(gain, kLimits.maxAnalogGain);
    return limited({static_cast<uint64_t>(time), analogGain, gain / analogGain});
}

}  // namespace

void ExposureControl::startOverriding(Claimant claimant) {
    const std::lock_guard lock{mutex_};
    if (findLocked(claimant) == claims_.end()) {
        claims_.push_back({claimant, {}, 0});
    }
}

Hidl::Result ExposureControl::stopOverriding(Claimant claimant) {
    const std::lock_guard lock{mutex_};
    const auto claim = findLocked(claimant);
    if (claim == claims_.end()) {
        return Hidl::Result::BAD_STATE;
    }
    claims_.erase(claim);
    return Hidl::Result::SUCCESS;
}

Hidl::Result ExposureControl::set(Claimant claimant, const Hidl::ExposureGainSettings& settings,
                                  uint32_t frameSets) {
    if (settings.numCameras > settings.cameras.size()) {
        return Hidl::Result::FAILURE;
    }
    const std::lock_guard lock{mutex_};
    const auto claim = findLocked(claimant);
    if (claim == claims_.end()) {
        return Hidl::Result::BAD_STATE;
    }
    claim->exposures.clear();
    for (uint32_t i = 0; i < settings.numCameras; ++i) {
        claim->exposures.push_back(limited(settings.cameras[i]));
    }
    claim->frameSets = frameSets;
    return Hidl::Result::SUCCESS;
}

void ExposureControl::setUtilityFrequency(Hidl::UtilityFrequency frequency) {
    const std::lock_guard lock{mutex_};
    utilityFrequency_ = frequency;
}

std::vector<Hidl::ExposureGain> ExposureControl::next(size_t cameras, double brightness) {
    const std::lock_guard lock{mutex_};
    std::vector<Hidl::ExposureGain> exposures;
    const auto claim = std::find_if(claims_.rbegin(), claims_.rend(),
                                    [](const Claim& c) { return !c.exposures.empty(); });
    if (claim != claims_.rend()) {
        exposures = claim->exposures;
        if (claim->frameSets > 0 && --claim->frameSets == 0) {
            claim->exposures.clear();
        }
    }
    exposures.resize(cameras, automaticExposure(brightness, utilityFrequency_));
    return exposures;
}

std::vector<ExposureControl::Claim>::iterator ExposureControl::findLocked(Claimant claimant) {
    return std::find_if(claims_.begin(), claims_.end(),
                        [&](const Claim& claim) { return claim.claimant == claimant; });
}

double brightnessOf(const Hidl::ExposureGain& exposure) {
    return static_cast<double>(exposure.exposureTime) /
           static_cast<double>(kAutomaticExposure.exposureTime) * exposure.analogGain *
           exposure.digitalGain / kAutomaticExposure.analogGain;
}

}  // namespace Simulator
