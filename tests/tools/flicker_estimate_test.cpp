// What sensorctl makes of the light sensor's samples.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "environment/flicker_estimate.h"

namespace {

using namespace Vek::Sensors;

struct Light {
    double frequency;
    double mean;
    double amplitude;
    double harmonic;
    double noise;
};

std::vector<uint16_t> samplesOfLight(const Light& light, size_t count, double sampleRate) {
    std::mt19937 generator;
    std::normal_distribution<double> noise(0, light.noise + 1e-9);
    std::vector<uint16_t> samples;
    for (size_t i = 0; i < count; ++i) {
        const double phase = 2 * M_PI * light.frequency * static_cast<double>(i) / sampleRate + 1;
        const double level = light.mean + light.amplitude * std::cos(phase) +
                             light.harmonic * std::cos(2 * phase) + noise(generator);
        samples.push_back(static_cast<uint16_t>(std::lround(std::clamp(level, 0.0, 65535.0))));
    }
    return samples;
}

TEST(FlickerEstimateTest, FrequencyIsFoundBetweenTheLinesOfTheSpectrum) {
    const double rates[] = {8192, 20480};
    for (const double rate : rates) {
        for (double frequency = 50; frequency < 460; frequency += 37.73) {
            const Light light{frequency, 6000, 1800, 480, 4};
            const auto estimate = estimateFlicker(samplesOfLight(light, 4096, rate), rate);
            ASSERT_TRUE(estimate) << frequency;
            EXPECT_NEAR(estimate->frequency, frequency, 0.05) << rate;
        }
    }
    const auto estimate =
        estimateFlicker(samplesOfLight({120, 6000, 1800, 0, 0}, 4096, 20480), 20480);
    EXPECT_NEAR(estimate.value().modulationDepth, 0.3, 0.001);
}

TEST(FlickerEstimateTest, SteadyLightAndUnusableSamplesHaveNoEstimate) {
    EXPECT_FALSE(estimateFlicker(samplesOfLight({100, 6000, 0, 0, 4}, 4096, 20480), 20480));
    EXPECT_FALSE(estimateFlicker(samplesOfLight({100, 0, 0, 0, 0}, 4096, 20480), 20480));
    EXPECT_FALSE(estimateFlicker(samplesOfLight({100, 9e9, 0, 0, 0}, 4096, 20480), 20480));
    const auto samples = samplesOfLight({100, 6000, 1800, 0, 0}, 4096, 20480);
    for (const double rate : {0.0, -1.0, std::nan(""), HUGE_VAL, 1e-300, 1e300}) {
        EXPECT_FALSE(estimateFlicker(samples, rate)) << rate;
    }
    EXPECT_FALSE(estimateFlicker(gsl::span<const uint16_t>(), 20480));
    EXPECT_FALSE(estimateFlicker(gsl::span<const uint16_t>(samples).first(63), 20480));
}

}  // namespace
