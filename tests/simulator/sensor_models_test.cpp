// The motion of the simulated headset, and what its sensors make of it.
#include "motion/sensor_models.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace Simulator;

double length(const Vector& v) {
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

template <typename Array>
Vector toVector(const Array& axes) {
    return {axes[0], axes[1], axes[2]};
}

template <typename Model>
auto sampleAt(Model& model, double seconds) {
    const auto time = static_cast<int64_t>(seconds * 1e9);
    return model.sample({time, 0, 0, time});
}

constexpr auto kClipped = static_cast<uint32_t>(Hal::MotionSampleStatus::CLIPPED);

TEST(HeadsetMotionTest, AngularRateIsHowTheWorldTurnsAroundTheHeadset) {
    const Vector world{0.3, -0.5, 0.8};
    constexpr double kStep = 1e-5;
    for (double time = 0; time < 60; time += 1.3) {
        const Vector before = HeadsetMotion::toHeadset(world, time - kStep);
        const Vector now = HeadsetMotion::toHeadset(world, time);
        const Vector after = HeadsetMotion::toHeadset(world, time + kStep);
        const Vector rate = HeadsetMotion::angularRate(time);
        // What stands still in the world turns the other way round for the headset.
        const Vector expected{now.y * rate.z - now.z * rate.y, now.z * rate.x - now.x * rate.z,
                              now.x * rate.y - now.y * rate.x};
        const Vector change{(after.x - before.x) / (2 * kStep) - expected.x,
                            (after.y - before.y) / (2 * kStep) - expected.y,
                            (after.z - before.z) / (2 * kStep) - expected.z};
        EXPECT_NEAR(length(change), 0, 1e-6) << time;
        EXPECT_NEAR(length(now), length(world), 1e-9);
    }
}

TEST(ImuModelTest, FeelsGravityAndASlowRotation) {
    ImuModel model{7, 0};
    double gravity = 0;
    double rotation = 0;
    constexpr int kSamples = 2000;
    for (int i = 0; i < kSamples; ++i) {
        const Hal::ImuData record = sampleAt(model, 1000 + i * 0.01);
        gravity += length(toVector(record.acceleration)) / kSamples;
        rotation += length(toVector(record.angularRate)) / kSamples;
        ASSERT_EQ(record.status, 0U);
        ASSERT_GT(record.temperature, 20.0F);
        ASSERT_LT(record.temperature, 50.0F);
    }
    EXPECT_NEAR(gravity, 9.81, 0.1);
    EXPECT_GT(rotation, 0.1);
    EXPECT_LT(rotation, 0.5);
}

TEST(ImuModelTest, AxisAtTheEndOfItsRangeIsClippedAndSaysSo) {
    ImuModel model{0, 0, 2.0F};
    const Hal::ImuData record = sampleAt(model, 1.0);
    EXPECT_EQ(record.acceleration[2], 2.0F);
    EXPECT_EQ(record.accelerationRange, 2.0F);
    EXPECT_EQ(record.status, kClipped);
}

}  // namespace
