// Finds the flicker of the light in the samples of the light sensor.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/flicker.h>

#include <cstdint>
#include <optional>

struct FlickerEstimate {
    /// Of the strongest flicker from 20 Hz to 1 kHz, in Hz.
    double frequency;
    /// (maximum - minimum) / (maximum + minimum) of the level.
    double modulationDepth;
};

/// The samples in use; all of them if the block claims more than it has.
gsl::span<const uint16_t> samplesOf(const Vek::Sensors::AdcFlickerData& block);

/// @param sampleRate in Hz.
/// @return none if the light is steady, or the samples are too few to tell.
std::optional<FlickerEstimate> estimateFlicker(gsl::span<const uint16_t> samples,
                                               double sampleRate);
