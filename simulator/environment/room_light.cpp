#include "environment/room_light.h"

#include <cmath>

namespace Simulator {
namespace {

constexpr double kCloudPeriod = 47;   // s
constexpr double kCloudDepth = 0.15;  // relative to the average
constexpr double kWanderPeriod = 60;  // s
constexpr double kWander = 0.02;      // Hz
constexpr double kTurn = 2 * M_PI;

}  // namespace

double RoomLight::at(double time) const {
    return average(time, time);
}

double RoomLight::average(double begin, double end) const {
    const double time = (begin + end) / 2;
    if (isSteady()) {
        return meanAt(time);
    }
    // The integral of the frequency, in turns.
    const double turns = flickerFrequency_ * time -
                         kWander * kWanderPeriod / kTurn * std::cos(kTurn * time / kWanderPeriod);
    const double phase = kTurn * (turns - std::floor(turns));
    double level = 1;
    for (size_t i = 0; i < kAmplitudes.size(); ++i) {
        const auto harmonic = static_cast<double>(i + 1);
        // The mean of a cosine over an interval is its value in the middle times a sinc.
        const double half = M_PI * harmonic * frequencyAt(time) * (end - begin);
        const double kept = half > 1e-9 ? std::sin(half) / half : 1;
        level += kAmplitudes[i] * kept * std::cos(harmonic * phase);
    }
    return meanAt(time) * level;
}

double RoomLight::meanAt(double time) const {
    return illuminance_ * (1 + kCloudDepth * std::sin(kTurn * time / kCloudPeriod));
}

double RoomLight::frequencyAt(double time) const {
    return isSteady() ? 0 : flickerFrequency_ + kWander * std::sin(kTurn * time / kWanderPeriod);
}

}  // namespace Simulator
