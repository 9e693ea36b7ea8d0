// Finds the strongest line of the spectrum and refines its position with the neighbouring lines.
#include "environment/flicker_estimate.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <vector>

namespace {

constexpr double kLowestFrequency = 20;     // in Hz
constexpr double kHighestFrequency = 1000;  // in Hz
constexpr size_t kFewestSamples = 64;
/// The window's main lobe is two lines wide on each side, so lines closer to 0 Hz belong to the
/// mean level.
constexpr size_t kLowestLine = 3;
// Lines weaker than this are noise of the ADC.
constexpr double kLeastAmplitude = 1;              // in counts
constexpr double kLeastRelativeAmplitude = 0.005;  // of the mean level

double meanOf(gsl::span<const uint16_t> samples) {
    return std::accumulate(samples.begin(), samples.end(), 0.0) /
           static_cast<double>(samples.size());
}

/// The samples minus their mean, multiplied by a Hann window.
std::vector<double> windowed(gsl::span<const uint16_t> samples, double mean) {
    std::vector<double> signal;
    signal.reserve(samples.size());
    const double turn = 2 * M_PI / static_cast<double>(samples.size());
    for (const uint16_t sample : samples) {
        const double window = 0.5 - 0.5 * std::cos(turn * static_cast<double>(signal.size()));
        signal.push_back(window * (sample - mean));
    }
    return signal;
}

/// Magnitude of one line of the spectrum, by Goertzel's recursion.
double lineOf(const std::vector<double>& signal, size_t line) {
    const double factor =
        2 * std::cos(2 * M_PI * static_cast<double>(line) / static_cast<double>(signal.size()));
    double last = 0;
    double beforeLast = 0;
    for (const double value : signal) {
        const double next = value + factor * last - beforeLast;
        beforeLast = last;
        last = next;
    }
    const double power = last * last + beforeLast * beforeLast - factor * last * beforeLast;
    return std::sqrt(std::max(power, 0.0));
}

/// Distance of the tone from the strongest line, in lines. Exact for a single tone under a Hann
/// window.
double offsetFrom(double below, double strongest, double above) {
    const double ratio = std::max(below, above) / strongest;
    const double offset = (2 * ratio - 1) / (ratio + 1);
    return above > below ? offset : -offset;
}

}  // namespace

gsl::span<const uint16_t> samplesOf(const Vek::Sensors::AdcFlickerData& block) {
    const size_t count = std::min<size_t>(block.sampleCount, block.samples.size());
    return gsl::span<const uint16_t>(block.samples).first(count);
}

std::optional<FlickerEstimate> estimateFlicker(gsl::span<const uint16_t> samples,
                                               double sampleRate) {
    // Written so that NaN is refused, too.
    if (samples.size() < kFewestSamples || !(sampleRate >= 1 && sampleRate <= 1e9)) {
        return std::nullopt;
    }
    const double mean = meanOf(samples);
    const std::vector<double> signal = windowed(samples, mean);
    const double spacing = sampleRate / static_cast<double>(signal.size());
    const auto first =
        std::max(kLowestLine, static_cast<size_t>(std::ceil(kLowestFrequency / spacing)));
    const auto last = std::min(signal.size() / 2 - 1,
                               static_cast<size_t>(std::floor(kHighestFrequency / spacing)));
    size_t strongest = 0;
    double magnitude = 0;
    for (size_t line = first; line <= last; ++line) {
        const double candidate = lineOf(signal, line);
        if (candidate > magnitude) {
            strongest = line;
            magnitude = candidate;
        }
    }
    const double amplitude = 4 * magnitude / static_cast<double>(signal.size());
    if (amplitude < std::max(kLeastAmplitude, kLeastRelativeAmplitude * mean)) {
        return std::nullopt;
    }
    const double offset =
        offsetFrom(lineOf(signal, strongest - 1), magnitude, lineOf(signal, strongest + 1));
    const auto [least, most] = std::minmax_element(samples.begin(), samples.end());
    return FlickerEstimate{(static_cast<double>(strongest) + offset) * spacing,
                           static_cast<double>(*most - *least) / (*most + *least)};
}
