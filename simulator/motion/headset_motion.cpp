// See headset_motion.h.
#include "motion/headset_motion.h"

#include <cmath>

namespace Simulator {
namespace {

/// An angle in rad and how fast it changes, in rad/s.
struct Turn {
    double angle;
    double rate;
};

Turn swing(double amplitude, double frequency, double time) {
    const double pulsation = 2 * M_PI * frequency;
    return {amplitude * std::sin(pulsation * time),
            amplitude * pulsation * std::cos(pulsation * time)};
}

// The head turns about the world's z axis first, then nods about its own x, then tilts about its y.
Turn yaw(double time) {
    constexpr double kRate = 0.2;
    return {std::remainder(kRate * time, 2 * M_PI), kRate};
}
Turn pitch(double time) {
    return swing(0.25, 0.11, time);
}
Turn roll(double time) {
    return swing(0.12, 0.07, time);
}

}  // namespace

Vector seenTurnedAboutX(const Vector& vector, double angle) {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    return {vector.x, c * vector.y + s * vector.z, c * vector.z - s * vector.y};
}

Vector seenTurnedAboutY(const Vector& vector, double angle) {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    return {c * vector.x - s * vector.z, vector.y, c * vector.z + s * vector.x};
}

Vector seenTurnedAboutZ(const Vector& vector, double angle) {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    return {c * vector.x + s * vector.y, c * vector.y - s * vector.x, vector.z};
}

Vector HeadsetMotion::toHeadset(const Vector& world, double time) {
    const Vector turned = seenTurnedAboutZ(world, yaw(time).angle);
    const Vector nodded = seenTurnedAboutX(turned, pitch(time).angle);
    return seenTurnedAboutY(nodded, roll(time).angle);
}

Vector HeadsetMotion::angularRate(double time) {
    const Vector turning{0, 0, yaw(time).rate};
    const Vector nodding{pitch(time).rate, 0, 0};
    const Vector tilting{0, roll(time).rate, 0};
    const Vector nodded = seenTurnedAboutX(turning, pitch(time).angle) + nodding;
    return seenTurnedAboutY(nodded, roll(time).angle) + tilting;
}

}  // namespace Simulator
