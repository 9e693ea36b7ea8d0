// See hand_motion.h.
#include "controller/hand_motion.h"

#include <cmath>

namespace Simulator {
namespace {

/// A harmonic swing with its derivatives.
struct Swing {
    double value;
    double rate;
    double acceleration;
};

Swing swing(double amplitude, double frequency, double phase, double time) {
    const double pulsation = 2 * M_PI * frequency;
    const double value = amplitude * std::sin(pulsation * time + phase);
    return {value, amplitude * pulsation * std::cos(pulsation * time + phase),
            -pulsation * pulsation * value};
}

}  // namespace

std::array<float, 4> HandPose::orientation() const {
    return {0, 0, static_cast<float>(std::sin(angle / 2)), static_cast<float>(std::cos(angle / 2))};
}

HandPose handPose(double time, double phase, double side) {
    const Swing x = swing(0.15, 0.5, phase, time);
    const Swing y = swing(0.10, 0.4, phase, time);
    const Swing z = swing(0.20, 0.6, phase, time);
    const Swing turn = swing(0.5, 0.3, phase, time);
    return {{0.25 * side + x.value, 0.4 + y.value, 1.1 + z.value},
            {x.rate, y.rate, z.rate},
            {x.acceleration, y.acceleration, z.acceleration},
            turn.value,
            turn.rate,
            turn.acceleration};
}

}  // namespace Simulator
