#include "world/sensor_errors.h"

#include <algorithm>
#include <cmath>

namespace Simulator {
namespace {

constexpr double kRoomTemperature = 25;       // degrees Celsius
constexpr int64_t kCell = 125'000'000;        // ns, of a random walk
constexpr int64_t kCells = int64_t{1} << 26;  // 97 days

}  // namespace

double RandomWalk::at(int64_t worldTime) {
    if (density_ == 0 || worldTime <= 0) {
        return 0;
    }
    const int64_t cell = std::min(worldTime / kCell, kCells - 1);
    if (cell != cell_) {
        begin_ = cell == cell_ + 1 ? end_ : atCell(cell);
        end_ = atCell(cell + 1);
        cell_ = cell;
    }
    const double part = static_cast<double>(worldTime - cell * kCell) / kCell;
    return begin_ + std::min(part, 1.0) * (end_ - begin_);
}

/// Lévy's construction: the value in the middle of an interval is the mean of the values at both
/// ends, plus a normal deviate.
double RandomWalk::atCell(int64_t cell) const {
    const double cellSeconds = static_cast<double>(kCell) * 1e-9;
    int64_t begin = 0;
    int64_t length = kCells;
    double atBegin = 0;
    double atEnd =
        density_ * std::sqrt(static_cast<double>(kCells) * cellSeconds) * random_.normal(kCells);
    while (cell != begin) {
        if (cell == begin + length) {
            return atEnd;
        }
        length /= 2;
        const int64_t middle = begin + length;
        const double deviation =
            density_ * std::sqrt(static_cast<double>(length) * cellSeconds / 2);
        const double atMiddle =
            (atBegin + atEnd) / 2 + deviation * random_.normal(static_cast<uint64_t>(middle));
        if (cell < middle) {
            atEnd = atMiddle;
        } else {
            begin = middle;
            atBegin = atMiddle;
        }
    }
    return atBegin;
}

TriaxialSensor::TriaxialSensor(const TriaxialSettings& settings, uint64_t seed,
                               const std::string& name)
    : settings_(settings),
      noise_{Random{seed, name + " noise x"}, Random{seed, name + " noise y"},
             Random{seed, name + " noise z"}},
      walks_{RandomWalk{{seed, name + " walk x"}, settings.randomWalk},
             RandomWalk{{seed, name + " walk y"}, settings.randomWalk},
             RandomWalk{{seed, name + " walk z"}, settings.randomWalk}} {
    const Random random{seed, name};
    uint64_t draws = 0;
    const auto draw = [&](double deviation) { return deviation * random.normal(draws++); };
    const auto drawVector = [&](double deviation) {
        const double x = draw(deviation);
        const double y = draw(deviation);
        return Vector{x, y, draw(deviation)};
    };
    turnOnBias_ = drawVector(settings.turnOnBias);
    perKelvin_ = drawVector(settings.temperatureCoefficient);
    distortion_ = Eigen::Matrix3d::Identity();
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            distortion_(row, column) +=
                draw(row == column ? settings.scaleError : settings.misalignment);
            gSensitivity_(row, column) = draw(settings.gSensitivity);
        }
        // Soft iron is the same in both directions.
        for (int column = 0; column <= row; ++column) {
            const double softness = draw(settings.softIron);
            distortion_(row, column) += softness;
            distortion_(column, row) += row == column ? 0 : softness;
        }
    }
}

Vector TriaxialSensor::bias(const Moment& moment) {
    const Vector walked{walks_[0].at(moment.worldTime), walks_[1].at(moment.worldTime),
                        walks_[2].at(moment.worldTime)};
    return turnOnBias_ + (moment.temperature - kRoomTemperature) * perKelvin_ + walked;
}

Vector TriaxialSensor::measure(const Vector& truth, const Vector& acceleration,
                               const Moment& moment) {
    Vector reading = distortion_ * truth + gSensitivity_ * acceleration + bias(moment);
    const double deviation = settings_.noiseDensity * std::sqrt(moment.rate);
    for (size_t axis = 0; axis < noise_.size(); ++axis) {
        double& value = reading[static_cast<Eigen::Index>(axis)];
        value += deviation * noise_[axis].normal(static_cast<uint64_t>(moment.worldTime));
        value = std::clamp(value, -settings_.range, settings_.range);
    }
    return reading;
}

InertialSensor::InertialSensor(const ImuSettings& settings, uint64_t seed, const std::string& name)
    : settings_(settings),
      accelerometer_(settings.accelerometer, seed, name + " accelerometer"),
      gyroscope_(settings.gyroscope, seed, name + " gyroscope"),
      jitter_(seed, name + " jitter") {}

InertialSensor::Reading InertialSensor::measure(const Motion& motion, const Moment& moment) {
    // An accelerometer at rest measures the force that holds it up against gravity.
    const Vector force =
        motion.pose.orientation.conjugate() * (motion.acceleration + kGravity * Vector::UnitZ());
    return {accelerometer_.measure(force, force, moment),
            gyroscope_.measure(motion.angularRate, force, moment)};
}

double temperatureAt(int64_t worldTime, const ImuSettings& settings) {
    const double warmUps =
        static_cast<double>(worldTime) * 1e-9 / std::max(settings.warmUpTime, 1e-3);
    return kRoomTemperature + settings.warmUp * (1 - std::exp(-warmUps));
}

InertialSensor::Reading InertialSensor::biases(const Moment& moment) {
    return {accelerometer_.bias(moment), gyroscope_.bias(moment)};
}

int64_t InertialSensor::timestampError(const Moment& moment) const {
    // Limits the error, so that samples stay in order.
    const double most = 0.25 / moment.rate;
    const double error =
        settings_.timestampJitter * jitter_.normal(static_cast<uint64_t>(moment.worldTime));
    return std::llround(std::clamp(error, -most, most) * 1e9);
}

}  // namespace Simulator
