// What the simulated motion sensors make of the truth.
#include "motion/sensor_models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "controller/controller_model.h"
#include "world/clocks.h"

namespace {

using namespace Simulator;
using ::testing::HasSubstr;

constexpr int64_t kSecond = 1'000'000'000;
constexpr auto kClipped = static_cast<uint32_t>(Hidl::MotionSampleStatus::CLIPPED);

SampleInstant instantAt(int64_t time, uint32_t rate) {
    return {time, time + 1000, 0, time, std::chrono::nanoseconds{kSecond / rate}};
}

template <typename Array>
Vector toVector(const Array& axes) {
    return {axes[0], axes[1], axes[2]};
}

std::shared_ptr<const World> makeWorld(const SensorSettings& sensors) {
    const auto world = std::make_shared<World>(WorldSettings{});
    world->sensors = sensors;
    return world;
}

ImuModel makeImu(const std::shared_ptr<const World>& world, const std::string& name = "IMU",
                 const Pose& place = {}) {
    return {0, name, place, world->sensors.headsetImu, world, nullptr};
}

/// Of one axis over a cluster time, in whole samples.
double allanVariance(const std::vector<double>& samples, size_t cluster) {
    double sum = 0;
    double last = 0;
    size_t clusters = 0;
    for (size_t begin = 0; begin + cluster <= samples.size(); begin += cluster, ++clusters) {
        double mean = 0;
        for (size_t i = begin; i < begin + cluster; ++i) {
            mean += samples[i] / static_cast<double>(cluster);
        }
        sum += clusters == 0 ? 0 : (mean - last) * (mean - last);
        last = mean;
    }
    return sum / 2 / static_cast<double>(clusters - 1);
}

TEST(TriaxialSensorTest, AllanDeviationOfAnHourHasTheSlopesOfNoiseAndRandomWalk) {
    constexpr double kNoise = 1.2e-4;
    constexpr double kWalk = 4e-5;
    constexpr size_t kRate = 100;
    constexpr size_t kSamples = 3600 * kRate;
    TriaxialSettings settings;
    settings.noiseDensity = kNoise;
    settings.randomWalk = kWalk;
    settings.turnOnBias = 1;
    settings.range = 100;
    TriaxialSensor sensor{settings, 5, "gyroscope"};
    std::array<std::vector<double>, 3> axes;
    for (size_t i = 0; i < kSamples; ++i) {
        const auto time = static_cast<int64_t>(i) * kSecond / int64_t{kRate};
        const Vector reading = sensor.measure(Vector::Zero(), Vector::Zero(), {time, kRate, 25});
        for (size_t axis = 0; axis < 3; ++axis) {
            axes[axis].push_back(reading[static_cast<Eigen::Index>(axis)]);
        }
    }
    for (const double seconds : {0.1, 0.5, 2.0, 10.0, 50.0}) {
        const auto cluster = static_cast<size_t>(seconds * kRate);
        double variance = 0;
        for (const auto& samples : axes) {
            variance += allanVariance(samples, cluster) / 3;
        }
        const double expected = kNoise * kNoise / seconds + kWalk * kWalk * seconds / 3;
        const double clusters = 3 * 3600 / seconds;
        EXPECT_NEAR(variance / expected, 1, 5 * std::sqrt(1.5 / clusters)) << seconds << " s";
    }
}

TEST(TriaxialSensorTest, SampleDependsOnSeedNameAndTimeNotOnWhatWasSampledBefore) {
    const TriaxialSettings settings = defaultSensors().headsetImu.gyroscope;
    const auto sample = [&](TriaxialSensor& sensor, int64_t time) -> Vector {
        return sensor.measure(Vector::Zero(), Vector::Zero(), {time, 1000, 25});
    };
    TriaxialSensor forwards{settings, 1, "a"};
    TriaxialSensor backwards{settings, 1, "a"};
    TriaxialSensor otherSeed{settings, 2, "a"};
    TriaxialSensor otherName{settings, 1, "b"};
    std::vector<Vector> samples;
    for (int64_t i = 0; i < 100; ++i) {
        samples.push_back(sample(forwards, i * kSecond / 30));
    }
    for (int64_t i = 99; i >= 0; i -= 3) {
        const Vector& expected = samples[static_cast<size_t>(i)];
        EXPECT_EQ(sample(backwards, i * kSecond / 30), expected);
        EXPECT_NE(sample(otherSeed, i * kSecond / 30), expected);
        EXPECT_NE(sample(otherName, i * kSecond / 30), expected);
    }
}

/// From the true state at `begin`, a second later.
Motion integrate(ImuModel& imu, const Trajectory& trajectory, int64_t begin) {
    constexpr uint32_t kRate = 1000;
    constexpr double kPeriod = 1.0 / kRate;
    Motion state = trajectory.at(begin);
    for (int64_t i = 0; i < kRate; ++i) {
        // Each sample stands for the time around it.
        const int64_t time = begin + (2 * i + 1) * kSecond / (2 * kRate);
        const Hidl::ImuData record = imu.sample(instantAt(time, kRate));
        const Vector turn = toVector(record.angularRate) * kPeriod;
        const Vector force = toVector(record.acceleration);
        const Vector acceleration =
            state.pose.orientation * turnBy(turn / 2) * force - 9.81 * Vector::UnitZ();
        state.pose.position += kPeriod * (state.velocity + kPeriod / 2 * acceleration);
        state.velocity += kPeriod * acceleration;
        state.pose.orientation = (state.pose.orientation * turnBy(turn)).normalized();
    }
    return state;
}

TEST(ImuModelTest, IntegratedSamplesFollowTheTruthWithinTheirNoise) {
    SensorSettings noisy = withoutErrors(defaultSensors());
    noisy.headsetImu.accelerometer.noiseDensity = 1e-3;
    noisy.headsetImu.gyroscope.noiseDensity = 1e-3;
    const auto idealWorld = makeWorld(withoutErrors(noisy));
    const auto noisyWorld = makeWorld(noisy);
    ImuModel ideal = makeImu(idealWorld);
    ImuModel real = makeImu(noisyWorld);
    double velocity = 0;
    double angle = 0;
    constexpr int kRounds = 15;
    for (int round = 0; round < kRounds; ++round) {
        const int64_t begin = round * 20 * kSecond;
        const Motion truth = idealWorld->trajectory.at(begin + kSecond);
        const auto turnFrom = [&truth](const Motion& reached) {
            return vectorOf(truth.pose.orientation.conjugate() * reached.pose.orientation);
        };
        const Motion exact = integrate(ideal, idealWorld->trajectory, begin);
        EXPECT_LT((exact.pose.position - truth.pose.position).norm(), 2e-5) << round;
        EXPECT_LT((exact.velocity - truth.velocity).norm(), 5e-5) << round;
        EXPECT_LT(turnFrom(exact).norm(), 1e-5) << round;
        const Motion estimate = integrate(real, noisyWorld->trajectory, begin);
        angle += turnFrom(estimate).squaredNorm() / kRounds;
        // Down is least touched by an error of the angle.
        velocity += std::pow((estimate.velocity - truth.velocity).z(), 2) / kRounds;
    }
    EXPECT_NEAR(std::sqrt(angle / 3), 1e-3, 4e-4);
    EXPECT_NEAR(std::sqrt(velocity), 1e-3, 5e-4);
}

TEST(TriaxialSensorTest, EachErrorHasItsDeviation) {
    constexpr double kError = 0.01;
    const struct {
        double TriaxialSettings::*error;
        double expected;  // of the length, in errors
    } cases[] = {
        {&TriaxialSettings::turnOnBias, std::sqrt(3)},
        {&TriaxialSettings::scaleError, 1},
        {&TriaxialSettings::misalignment, std::sqrt(2)},
        {&TriaxialSettings::softIron, std::sqrt(3)},
        {&TriaxialSettings::gSensitivity, 9 * std::sqrt(3)},
        {&TriaxialSettings::temperatureCoefficient, 10 * std::sqrt(3)},
        {&TriaxialSettings::noiseDensity, std::sqrt(400 * 3)},
        {&TriaxialSettings::randomWalk, std::sqrt(25 * 3)},
    };
    for (const auto& c : cases) {
        TriaxialSettings settings;
        settings.range = 100;
        settings.*c.error = kError;
        double square = 0;
        constexpr int kSensors = 500;
        for (int i = 0; i < kSensors; ++i) {
            TriaxialSensor sensor{settings, 1, std::to_string(i)};
            const Vector truth = Vector::UnitZ();
            const Vector reading =
                sensor.measure(truth, 9 * Vector::UnitX(), {25 * kSecond, 400, 35});
            square += (reading - truth).squaredNorm() / kSensors;
        }
        EXPECT_NEAR(std::sqrt(square) / kError / c.expected, 1, 0.12) << c.expected;
    }
}

TEST(ImuModelTest, AxisBeyondItsRangeIsClippedAndMarked) {
    SensorSettings sensors = withoutErrors(defaultSensors());
    sensors.headsetImu.accelerometer.range = 2;
    const auto world = makeWorld(sensors);
    const Hidl::ImuData record = makeImu(world).sample(instantAt(kSecond, 1000));
    EXPECT_EQ(record.acceleration[2], 2.0F);
    EXPECT_EQ(record.accelerationRange, 2.0F);
    EXPECT_EQ(record.status, kClipped);
}

TEST(ImuModelTest, GroundTruthIsTheTruthAtTheTimeStampOfEachSample) {
    const std::string file = ::testing::TempDir() + "truth" + std::to_string(getpid());
    std::ofstream(file) << "earlier\n";
    const auto read = [&file] {
        std::ifstream stream(file);
        std::vector<std::string> lines;
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line);
        }
        return lines;
    };
    { const GroundTruth unused{file}; }
    EXPECT_THAT(read(), ::testing::ElementsAre("earlier"));

    SensorSettings sensors = defaultSensors();
    sensors.headsetImu.timestampJitter = 1e-4;
    const auto world = makeWorld(sensors);
    const auto truth = std::make_shared<GroundTruth>(file);
    ImuModel imu{0, "IMU", {}, sensors.headsetImu, world, truth};
    std::vector<int64_t> stamps;
    for (int64_t i = 0; i < 100; ++i) {
        stamps.push_back(imu.sample(instantAt(20 * kSecond + i * kSecond / 100, 100)).timestamp);
    }
    EXPECT_THAT(truth->summary(), HasSubstr("100 lines in " + file));
    const std::vector<std::string> lines = read();
    ASSERT_EQ(lines.size(), 101U);
    TriaxialSensor gyroscope{sensors.headsetImu.gyroscope, world->seed, "IMU gyroscope"};
    for (size_t i = 0; i < stamps.size(); ++i) {
        std::array<double, 17> n{};
        std::istringstream line(lines[i + 1]);
        for (double& number : n) {
            line >> number;
            line.ignore(1);
        }
        EXPECT_EQ(lines[i + 1].substr(0, lines[i + 1].find(',')), std::to_string(stamps[i]));
        const Motion motion = world->trajectory.at(stamps[i]);
        EXPECT_LT((Vector{n[1], n[2], n[3]} - motion.pose.position).norm(), 1e-8);
        EXPECT_LT(vectorOf(Eigen::Quaterniond{n[4], n[5], n[6], n[7]}.conjugate() *
                           motion.pose.orientation)
                      .norm(),
                  1e-9);
        EXPECT_LT((Vector{n[8], n[9], n[10]} - motion.velocity).norm(), 1e-8);
        const int64_t time = 20 * kSecond + static_cast<int64_t>(i) * kSecond / 100;
        const Vector bias = gyroscope.bias({time, 100, temperatureAt(time, sensors.headsetImu)});
        EXPECT_LT((Vector{n[11], n[12], n[13]} - bias).norm(), 1e-8);
    }
    std::remove(file.c_str());
}

TEST(SensorSettingsTest, FileChangesTheSettingsThatItNamesAndErrorsNameTheirKey) {
    const std::string file = ::testing::TempDir() + "sensors" + std::to_string(getpid());
    const auto readText = [&file](const std::string& text) {
        std::ofstream(file) << text;
        return readSensors(file);
    };
    const SensorSettings defaults = defaultSensors();
    const SensorSettings changed =
        readText("boardImu: {gyroscope: {noiseDensity: 7}}\nmagnetometer: {hardIron: 8}\n");
    EXPECT_EQ(changed.boardImu.gyroscope.noiseDensity, 7);
    EXPECT_EQ(changed.magnetometer.turnOnBias, 8);
    EXPECT_EQ(changed.headsetImu.gyroscope.noiseDensity,
              defaults.headsetImu.gyroscope.noiseDensity);
    EXPECT_EQ(changed.boardImu.gyroscope.randomWalk, defaults.boardImu.gyroscope.randomWalk);
    const struct {
        std::string text;
        std::string words;
    } cases[] = {
        {"headsetImu: {gyroscop: {}}", "headsetImu has no key 'gyroscop'"},
        {"magnetometer: {gSensitivity: 1}", "magnetometer has no key 'gSensitivity'"},
        {"headsetImu: {gyroscope: {noiseDensity: -1}}", "headsetImu.gyroscope.noiseDensity '-1'"},
        {"headsetImu: {gyroscope: {noiseDensity: .nan}}", "noiseDensity '.nan'"},
        {"headsetImu: {gyroscope: {noiseDensity: x}}", "noiseDensity 'x'"},
        {"headsetImu: 3", "headsetImu is no list"},
        {"headsetImu: {", "line"},
    };
    for (const auto& c : cases) {
        try {
            readText(c.text);
            ADD_FAILURE() << c.text;
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), HasSubstr(file));
            EXPECT_THAT(error.what(), HasSubstr(c.words));
        }
    }
    std::remove(file.c_str());
}

TEST(ControllerModelTest, ImuFeelsACollisionWhenItsEventSaysSoAndShowsTheControllersClock) {
    const auto world = makeWorld(withoutErrors(defaultSensors()));
    ControllerModel model{{1}, "controller", {Hand::kLeft, Pose{}, 0}, world};
    EXPECT_FALSE(model.collision(instantAt(3'990'000'000, 100)));
    const auto blow = model.collision(instantAt(4'000'000'000, 100));
    ASSERT_TRUE(blow);
    EXPECT_EQ(blow->timestamp, 4'000'000'000);
    const auto accelerationAt = [&](int64_t time) {
        return toVector(model.imu(instantAt(time, 500), 25).acceleration);
    };
    const Vector before = accelerationAt(blow->timestamp - 5'000'000);
    const Vector felt = accelerationAt(blow->timestamp) - before;
    const auto direction = toVector(blow->direction);
    EXPECT_NEAR(felt.dot(direction), blow->peakAcceleration, 1);
    EXPECT_NEAR(felt.norm(), blow->peakAcceleration, 1);
    EXPECT_LT((accelerationAt(blow->timestamp + 5'000'000) - before).norm(), 1);

    using Domain = Hidl::TimeDomain;
    const Hidl::ControllerImuData record = model.imu(instantAt(10 * kSecond, 500), 25);
    EXPECT_EQ(record.controllerTime,
              static_cast<uint32_t>(
                  *translate(record.timestamp, Domain::MONOTONIC, Domain::CONTROLLER) / 1000));
}

}  // namespace
