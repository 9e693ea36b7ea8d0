// Places and motion in space.
#pragma once

#include <Eigen/Geometry>
#include <array>
#include <cmath>

namespace Simulator {

using Vector = Eigen::Vector3d;

/// Where one set of axes is, seen from another ("a from b": b's axes seen from a).
struct Pose {
    Eigen::Quaterniond orientation = Eigen::Quaterniond::Identity();
    Vector position = Vector::Zero();

    /// A point of b, seen from a.
    Vector operator*(const Vector& point) const { return orientation * point + position; }
    /// "a from b" times "b from c" is "a from c".
    Pose operator*(const Pose& other) const {
        return {orientation * other.orientation, *this * other.position};
    }
    Pose inverse() const {
        const Eigen::Quaterniond back = orientation.conjugate();
        return {back, back * -position};
    }
};

/// The motion of a body at one moment. Velocity and acceleration are along the world's axes,
/// rotation along the body's own.
struct Motion {
    Pose pose;                                    ///< world from body
    Vector velocity = Vector::Zero();             ///< m/s
    Vector acceleration = Vector::Zero();         ///< m/s^2, without gravity
    Vector angularRate = Vector::Zero();          ///< rad/s
    Vector angularAcceleration = Vector::Zero();  ///< rad/s^2
};

/// The turn about `vector` by its length in rad.
inline Eigen::Quaterniond turnBy(const Vector& vector) {
    const double angle = vector.norm();
    // sin(x / 2) / x; below 1e-4 the next term of its series is lost in rounding.
    const double scale = angle < 1e-4 ? 0.5 - angle * angle / 48 : std::sin(angle / 2) / angle;
    Eigen::Quaterniond turn;
    turn.w() = std::cos(angle / 2);
    turn.vec() = scale * vector;
    return turn;
}

/// The shortest such vector for a turn.
inline Vector vectorOf(const Eigen::Quaterniond& turn) {
    const double sine = turn.vec().norm();
    const double sign = turn.w() < 0 ? -1 : 1;
    const double scale = sine < 1e-9 ? 2 : 2 * std::atan2(sine, std::abs(turn.w())) / sine;
    return sign * scale * turn.vec();
}

/// The motion of what is fixed to a moving carrier.
/// @param place carrier from what is fixed to it
inline Motion carriedBy(const Motion& carrier, const Pose& place) {
    const Vector& rate = carrier.angularRate;
    const Eigen::Quaterniond& turn = carrier.pose.orientation;
    const Eigen::Quaterniond toPlace = place.orientation.conjugate();
    const Vector turning = rate.cross(place.position);
    return {carrier.pose * place, carrier.velocity + turn * turning,
            carrier.acceleration +
                turn * (carrier.angularAcceleration.cross(place.position) + rate.cross(turning)),
            toPlace * rate, toPlace * carrier.angularAcceleration};
}

/// As records have it.
inline std::array<float, 3> toFloats(const Vector& vector) {
    return {static_cast<float>(vector.x()), static_cast<float>(vector.y()),
            static_cast<float>(vector.z())};
}

}  // namespace Simulator
