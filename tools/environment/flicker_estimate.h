// Finds the flicker of the light in the samples of the light sensor.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/flicker.h>

#include <cstdint>
#include <optional>

struct FlickerEstimate {
    /// Frequency of the strongest flicker from 20 Hz to 1 kHz, in Hz.
    double frequency;
    /// (maximum - minimum) / (maximum + minimum) of the level.
    double modulationDepth;
};

/// The valid samples of a block; all of them if the block states an impossible count.
gsl::span<const uint16_t> samplesOf(const Vek::Sensors::AdcFlickerData& block);

/// @param sampleRate in Hz.
/// @return empty if the light is steady, or there are too few samples.
std::optional<FlickerEstimate> estimateFlicker(gsl::span<const uint16_t> samples,
                                               double sampleRate);
