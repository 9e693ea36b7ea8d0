#include "environment/light_models.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "time_units.h"

namespace Simulator {
namespace {

constexpr uint32_t kBlockSize = 4096;
constexpr uint32_t kSampleRate = kBlockSize * kBlockRate;  // in Hz
constexpr int64_t kBlockNanoseconds = 1'000'000'000 / kBlockRate;
constexpr double kMaxCount = UINT16_MAX;
constexpr double kCountsPerLux = kMaxCount / kIlluminanceRange;
constexpr float kGain = 4;

constexpr double kExposure = 0.1;  // in s: whole periods of the flicker, of both frequencies
constexpr double kExposureSteps = 120;

// White light of 4000 K, and how much of it passes each colour filter.
constexpr float kColorTemperature = 4000;
constexpr std::array<float, 2> kChromaticity{0.3805F, 0.3768F};
constexpr std::array<double, 8> kFilters{0.09, 0.16, 0.22, 0.31, 0.38, 0.45, 0.41, 0.30};
constexpr double kChannelCountsPerLux = 40;
constexpr double kInfraredPerLux = 0.0021;  // in W/m^2
constexpr double kDarkness = 1;             // in lx: below, no colour can be told

constexpr auto kSaturated = static_cast<uint32_t>(Hidl::LightSampleStatus::SATURATED);

/// The shape of one period of the light's level.
struct Period {
    double least = INFINITY;
    double most = 0;
    double mean = 0;
    double aboveMean = 0;
};

Period periodOf(const RoomLight& room, double time) {
    constexpr size_t kSteps = 256;
    const double length = 1 / std::max(room.frequencyAt(time), 1.0);
    std::array<double, kSteps> levels;
    Period period;
    for (size_t i = 0; i < kSteps; ++i) {
        levels[i] = room.at(time + length * static_cast<double>(i) / kSteps);
        period.least = std::min(period.least, levels[i]);
        period.most = std::max(period.most, levels[i]);
        period.mean += levels[i] / kSteps;
    }
    for (const double level : levels) {
        period.aboveMean += std::max(level - period.mean, 0.0) / kSteps;
    }
    return period;
}

}  // namespace

Hidl::AdcFlickerData AdcFlickerModel::sample(const SampleInstant& instant) {
    Hidl::AdcFlickerData record{};
    record.timestamp = instant.timestamp - kBlockNanoseconds;
    record.arrivalTimestamp = instant.arrivalTimestamp;
    record.sequence = instant.sequence;
    record.sampleRate = kSampleRate;
    record.sampleCount = kBlockSize;
    const double begin = toSeconds(instant.worldTime - kBlockNanoseconds);
    for (uint32_t i = 0; i < kBlockSize; ++i) {
        const double level = room_->at(begin + i / double{kSampleRate}) * kCountsPerLux;
        const double count = std::clamp(level + noise_(generator_), 0.0, kMaxCount);
        record.samples[i] = static_cast<uint16_t>(std::lround(count));
        record.status |= count == kMaxCount ? kSaturated : 0;
    }
    return record;
}

Hidl::FlickerData FlickerModel::sample(const SampleInstant& instant) const {
    const double time = toSeconds(instant.worldTime - kBlockNanoseconds / 2);
    const Period period = periodOf(*room_, time);
    const bool isSaturated = period.most > kIlluminanceRange;
    Hidl::FlickerData record{};
    record.timestamp = instant.timestamp;
    record.arrivalTimestamp = instant.arrivalTimestamp;
    record.sequence = instant.sequence;
    record.status = isSaturated ? kSaturated : 0;
    record.frequency = static_cast<float>(room_->frequencyAt(time));
    record.confidence = isSaturated ? 0.5F : 0.98F;
    record.meanLevel = static_cast<float>(std::min(period.mean * kCountsPerLux, kMaxCount));
    record.gain = kGain;
    record.sampleRate = kSampleRate;
    if (room_->isSteady() || period.mean <= 0) {
        return record;
    }
    record.modulationDepth =
        static_cast<float>((period.most - period.least) / (period.most + period.least));
    record.flickerIndex = static_cast<float>(period.aboveMean / period.mean);
    record.peakCount = RoomLight::kAmplitudes.size();
    for (size_t i = 0; i < RoomLight::kAmplitudes.size(); ++i) {
        record.peaks[i] = {static_cast<float>(i + 1) * record.frequency,
                           static_cast<float>(RoomLight::kAmplitudes[i])};
    }
    return record;
}

Hidl::AmbientLightData AmbientLightModel::sample(const SampleInstant& instant) const {
    const double begin = toSeconds(instant.worldTime) - kExposure;
    double illuminance = 0;
    for (int step = 0; step < kExposureSteps; ++step) {
        illuminance += room_->at(begin + kExposure * step / kExposureSteps) / kExposureSteps;
    }
    Hidl::AmbientLightData record{};
    record.timestamp = instant.timestamp - static_cast<int64_t>(kExposure / 2 * 1e9);
    record.arrivalTimestamp = instant.arrivalTimestamp;
    record.sequence = instant.sequence;
    record.illuminance = static_cast<float>(std::min(illuminance, kIlluminanceRange));
    record.status = illuminance > kIlluminanceRange ? kSaturated : 0;
    if (illuminance >= kDarkness) {
        record.colorTemperature = kColorTemperature;
        record.chromaticity = kChromaticity;
    }
    record.infrared = static_cast<float>(illuminance * kInfraredPerLux);
    record.integrationTime = static_cast<float>(kExposure);
    record.gain = kGain;
    record.illuminanceRange = static_cast<float>(kIlluminanceRange);
    record.channelCount = kFilters.size();
    for (size_t i = 0; i < kFilters.size(); ++i) {
        const double count = illuminance * kChannelCountsPerLux * kFilters[i];
        record.channels[i] = static_cast<uint32_t>(std::min(count, kMaxCount));
        record.saturatedChannels |= count > kMaxCount ? 1U << i : 0U;
    }
    return record;
}

}  // namespace Simulator
