// The light of the simulated room: the signal that all streams of the light sensor measure.
#pragma once

#include <array>
#include <cstdint>

namespace Simulator {

/// Lamps that flicker at about twice the mains frequency, and daylight that varies with clouds.
///
/// Threading: constant, for any thread.
class RoomLight {
  public:
    /// Amplitudes of the flicker's fundamental and harmonics, relative to the mean level.
    static constexpr std::array<double, 3> kAmplitudes{0.30, 0.08, 0.02};

    /// The illuminance that cameras and wearer are adapted to, in lx.
    static constexpr double kUsualIlluminance = 300;

    /// @param flickerFrequency in Hz; 0: steady
    /// @param illuminance on average, in lx
    RoomLight(uint32_t flickerFrequency, double illuminance)
        : flickerFrequency_(flickerFrequency), illuminance_(illuminance) {}

    bool isSteady() const { return flickerFrequency_ == 0; }

    // At a time in seconds since the world's start.

    /// The illuminance, in lx.
    double at(double time) const;

    /// The mean illuminance between two times, up to some tens of ms apart, in lx.
    double average(double begin, double end) const;

    /// The illuminance without the flicker, in lx.
    double meanAt(double time) const;

    /// Frequency in Hz, which wanders by a few hundredths as that of the mains does.
    double frequencyAt(double time) const;

  private:
    double flickerFrequency_;
    double illuminance_;
};

}  // namespace Simulator
