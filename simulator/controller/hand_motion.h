// How a simulated hand controller moves: the hand swings before the body and turns about the
// vertical.
#pragma once

#include <array>

#include "motion/headset_motion.h"

namespace Simulator {

/// Along the axes of the world.
struct HandPose {
    Vector position;             // in m
    Vector linearVelocity;       // in m/s
    Vector linearAcceleration;   // in m/s^2, without gravity
    double angle;                // about z, in rad
    double angularRate;          // in rad/s
    double angularAcceleration;  // in rad/s^2

    /// Unit quaternion x, y, z, w.
    std::array<float, 4> orientation() const;
    /// A vector of the world along the controller's axes.
    Vector toController(const Vector& world) const { return seenTurnedAboutZ(world, angle); }
};

/// @param time in s, of any origin
/// @param phase by which one hand is ahead of another, in rad
/// @param side of the body that the hand is on: -1 left, 1 right, 0 in front
HandPose handPose(double time, double phase, double side);

}  // namespace Simulator
