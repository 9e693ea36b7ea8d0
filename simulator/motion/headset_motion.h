// How the simulated headset moves: its wearer turns slowly, nods and tilts the head.
#pragma once

namespace Simulator {

/// Of the world: x east, y north, z up. Of the headset: x right, y forward, z up.
struct Vector {
    double x = 0;
    double y = 0;
    double z = 0;
};

inline Vector operator+(const Vector& a, const Vector& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

/// The same vector seen from axes that are turned about one of them by `angle` rad.
Vector seenTurnedAboutX(const Vector& vector, double angle);
Vector seenTurnedAboutY(const Vector& vector, double angle);
Vector seenTurnedAboutZ(const Vector& vector, double angle);

/// A function of time alone, so that all sensors on the headset see one motion, whenever they are
/// sampled. Stateless.
class HeadsetMotion {
  public:
    /// A vector of the world along the headset's axes.
    /// @param time in s, of any origin
    static Vector toHeadset(const Vector& world, double time);

    /// About the headset's axes, in rad/s.
    static Vector angularRate(double time);
};

}  // namespace Simulator
