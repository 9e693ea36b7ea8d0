#include "world/wearer.h"

#include <algorithm>
#include <cmath>

#include "world/random.h"

namespace Simulator {
namespace {

constexpr double kRound = 300;     // s until everything begins anew
constexpr double kStillUntil = 2;  // s
constexpr double kExcitedUntil = 8;
constexpr double kComeBack = 9;  // s for the way back to the beginning
constexpr double kSpacing = static_cast<double>(kWearerSpacing) * 1e-9;
constexpr double kTurn = 2 * M_PI;

constexpr double kHalfWidth = 1.5;   // m; of the floor to walk on, east and west
constexpr double kHalfLength = 1.2;  // north and south
const Vector kStart{0, -0.5, 1.5};   // of the neck
const Vector kHeadsetOnNeck{0, 0.11, 0.1};

/// A sine whose frequency is rounded to whole periods per round.
double swing(double time, double frequency, double phase = 0) {
    return std::sin(kTurn * std::round(frequency * kRound) / kRound * time + phase);
}

/// A value that goes smoothly from one key to the next, and rests between them.
class Track {
  public:
    explicit Track(const Vector& value) : keys_{{0, 0, value}} {}

    const Vector& last() const { return keys_.back().value; }
    double end() const { return keys_.back().end; }

    /// Begins no earlier than the last one has ended.
    void moveTo(const Vector& value, double begin, double duration) {
        begin = std::max(begin, end());
        keys_.push_back({begin, begin + duration, value});
    }

    Vector at(double time) const {
        const auto next = std::upper_bound(keys_.begin() + 1, keys_.end(), time,
                                           [](double t, const Key& key) { return t < key.end; });
        if (next == keys_.end()) {
            return keys_.back().value;
        }
        const double x = std::max(0.0, (time - next->begin) / (next->end - next->begin));
        const double eased = x * x * x * (10 + x * (6 * x - 15));
        return (next - 1)->value + eased * (next->value - (next - 1)->value);
    }

  private:
    struct Key {
        double begin;
        double end;
        Vector value;
    };
    std::vector<Key> keys_;
};

/// Where the wearer goes (x, y, z of the neck) and looks (yaw, pitch, roll in rad).
class Walk {
  public:
    explicit Walk(uint64_t seed) : random_(seed, "wearer") {
        double time = kExcitedUntil;
        while (time < kRound - kComeBack - 15) {
            time = walkTo(nextPlace(), time);
            time = lookAround(time);
        }
        walkTo(kStart, std::max(time, kRound - kComeBack));
        const double yaw = kTurn * std::round(gaze.last()[0] / kTurn);
        gaze.moveTo({yaw, 0, 0}, gaze.end(), 1.5);
    }

    Track neck{kStart};
    Track gaze{Vector::Zero()};

  private:
    double draw(double low, double high) { return random_.uniform(draws_++, low, high); }

    Vector nextPlace() {
        while (true) {
            const Vector place{draw(-kHalfWidth, kHalfWidth), draw(-kHalfLength, kHalfLength),
                               kStart.z()};
            if ((place - neck.last()).norm() > 0.9) {
                return place;
            }
        }
    }

    /// @param pace 1: as people look around; above: quicker
    void turnTo(double yaw, double pitch, double roll, double begin, double pace) {
        const Vector to{yaw, pitch, roll};
        const double angle = (to - gaze.last()).norm();
        gaze.moveTo(to, begin, (0.6 + angle / 1.6) / pace);
    }

    /// @return when the wearer has arrived
    double walkTo(const Vector& place, double time) {
        constexpr double kSpeed = 0.6;  // m/s on average; at most nearly twice that
        const Vector way = place - neck.last();
        const double duration = std::max(1.2, way.norm() / kSpeed);
        const double before = gaze.last()[0];
        const double yaw = before + std::remainder(std::atan2(-way.x(), way.y()) - before, kTurn);
        turnTo(yaw, -0.15, 0, time, 1);
        const double begin = time + 0.6 * (gaze.end() - time);
        neck.moveTo(place, begin, duration);
        while (gaze.end() < begin + duration - 1) {
            turnTo(yaw + draw(-0.5, 0.5), draw(-0.5, 0.15), draw(-0.1, 0.1),
                   gaze.end() + draw(0.3, 1.0), 1);
        }
        return std::max(gaze.end(), neck.end());
    }

    double lookAround(double time) {
        const double ahead = gaze.last()[0];
        const double crouch = draw(0, 1) < 0.3 ? draw(0.2, 0.45) : 0;
        if (crouch > 0) {
            neck.moveTo(neck.last() - Vector{0, 0, crouch}, time, 1.5);
        }
        const auto glances = static_cast<int>(draw(2, 5));
        for (int i = 0; i < glances; ++i) {
            const bool isQuick = draw(0, 1) < 0.2;
            turnTo(ahead + draw(-1.2, 1.2), draw(-0.65, 0.4), draw(-0.2, 0.2),
                   gaze.end() + draw(0.4, 1.4), isQuick ? 2.5 : 1);
        }
        if (crouch > 0) {
            neck.moveTo(neck.last() + Vector{0, 0, crouch}, std::max(gaze.end() - 1, time), 1.5);
        }
        return std::max(gaze.end(), neck.end());
    }

    const Random random_;
    uint64_t draws_ = 0;
};

/// 1 in the middle of the time in which all axes are moved, 0 outside of it.
double excitement(double time) {
    if (time <= kStillUntil || time >= kExcitedUntil) {
        return 0;
    }
    const double sine = std::sin(M_PI * (time - kStillUntil) / (kExcitedUntil - kStillUntil));
    return sine * sine;
}

Eigen::Quaterniond turnOf(double yaw, double pitch, double roll) {
    return Eigen::AngleAxisd(yaw, Vector::UnitZ()) * Eigen::AngleAxisd(pitch, Vector::UnitX()) *
           Eigen::AngleAxisd(roll, Vector::UnitY());
}

Pose headPose(const Walk& walk, double time) {
    const Vector velocity = (walk.neck.at(time + 0.05) - walk.neck.at(time - 0.05)) / 0.1;
    // Steps: up and down with each, from side to side with every second.
    const double effort = std::min(1.0, Vector{velocity.x(), velocity.y(), 0}.norm() / 0.8);
    const Vector aside = Vector{velocity.y(), -velocity.x(), 0} / 0.8 / std::max(1.0, effort);
    const Vector steps =
        0.018 * effort * swing(time, 1.8) * Vector::UnitZ() + 0.02 * swing(time, 0.9) * aside;
    // Nobody stands entirely still.
    const Vector sway{0.004 * swing(time, 0.23), 0.005 * swing(time, 0.17, 1),
                      0.002 * swing(time, 0.27, 2)};
    const Vector tremble{0.006 * swing(time, 0.19, 3), 0.006 * swing(time, 0.31, 4),
                         0.004 * swing(time, 0.29, 5)};
    const double e = excitement(time);
    const Vector swaying =
        e * Vector{0.22 * swing(time, 0.5), 0.2 * swing(time, 0.6, 1), 0.12 * swing(time, 0.8, 2)};
    const Vector nodding =
        e * Vector{0.4 * swing(time, 0.45), 0.3 * swing(time, 0.7, 1), 0.25 * swing(time, 0.6, 2)};
    const Vector gaze = walk.gaze.at(time) + tremble + nodding +
                        0.01 * effort * Vector{swing(time, 0.9, 1), swing(time, 1.8, 1), 0};
    const Eigen::Quaterniond orientation = turnOf(gaze[0], gaze[1], gaze[2]);
    return {orientation,
            walk.neck.at(time) + steps + sway + swaying + orientation * kHeadsetOnNeck};
}

/// Weighted mean of a value over the controls around `number`, with Gaussian weights.
template <typename Value>
Vector smoothed(const PoseSpline& path, int64_t number, double deviation, const Value& value) {
    const double steps = deviation * 1e9 / static_cast<double>(path.spacing());
    const auto reach = static_cast<int64_t>(std::ceil(2.5 * steps));
    Vector sum = Vector::Zero();
    double weights = 0;
    for (int64_t i = -reach; i <= reach; ++i) {
        const double place = static_cast<double>(i) / steps;
        const double weight = std::exp(-place * place / 2);
        sum += weight * value(path.controls()[path.indexOf(number + i)]);
        weights += weight;
    }
    return sum / weights;
}

}  // namespace

std::vector<Pose> headPoses(uint64_t seed) {
    const Walk walk{seed};
    std::vector<Pose> poses(static_cast<size_t>(std::lround(kRound / kSpacing)));
    for (size_t i = 0; i < poses.size(); ++i) {
        poses[i] = headPose(walk, static_cast<double>(i) * kSpacing);
    }
    return poses;
}

std::vector<Pose> handPoses(const PoseSpline& head, Hand hand, uint64_t seed) {
    const double side = hand == Hand::kLeft ? -1 : 1;
    const Random random{seed, hand == Hand::kLeft ? "left hand" : "right hand"};
    std::vector<Pose> poses(head.controls().size());
    for (size_t i = 0; i < poses.size(); ++i) {
        const auto number = static_cast<int64_t>(i);
        const double time = static_cast<double>(number * head.spacing()) * 1e-9;
        const Vector ahead = smoothed(head, number, 0.6, [](const Pose& pose) -> Vector {
            return pose.orientation * Vector::UnitY();
        });
        const Vector eyes =
            smoothed(head, number, 0.15, [](const Pose& pose) { return pose.position; });
        const Eigen::Quaterniond body = turnOf(std::atan2(-ahead.x(), ahead.y()), 0, 0);
        const auto moving = [&](uint64_t axis) {
            return 0.7 * swing(time, random.uniform(2 * axis, 0.2, 0.35), 1.3 * side) +
                   0.3 * swing(time, random.uniform(2 * axis + 1, 0.5, 0.8), side);
        };
        const Vector reach{side * 0.2 + 0.09 * moving(0), 0.38 + 0.07 * moving(1),
                           -0.36 + 0.1 * moving(2)};
        poses[i] = {
            body * turnOf(side * 0.2 + 0.4 * moving(3), 0.5 + 0.4 * moving(4), 0.4 * moving(5)),
            eyes + body * reach};
    }
    return poses;
}

}  // namespace Simulator
