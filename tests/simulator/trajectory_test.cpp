// The motion of the headset and of the hands.
#include "world/trajectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>

namespace {

using namespace Simulator;
using ::testing::HasSubstr;

constexpr int64_t kSecond = 1'000'000'000;

/// Velocity, acceleration and rates against differences of the poses next to them.
void expectConsistent(const std::function<Motion(int64_t)>& motionAt, int64_t time) {
    constexpr int64_t kStep = 100'000;
    constexpr double kSeconds = 2e-9 * kStep;
    const Motion before = motionAt(time - kStep);
    const Motion now = motionAt(time);
    const Motion after = motionAt(time + kStep);
    const auto expectNear = [=](const Vector& value, const Vector& difference) {
        EXPECT_LT((value - difference / kSeconds).norm(), 2e-3) << time;
    };
    expectNear(now.velocity, after.pose.position - before.pose.position);
    expectNear(now.acceleration, after.velocity - before.velocity);
    expectNear(now.angularRate,
               vectorOf(before.pose.orientation.conjugate() * after.pose.orientation));
    expectNear(now.angularAcceleration, after.angularRate - before.angularRate);
}

TEST(TrajectoryTest, DerivativesAreThoseOfThePath) {
    const Trajectory trajectory{1};
    const Pose board{turnBy({0.3, -0.5, 1}), {0.05, 0.1, -0.04}};
    // Never within a step of the spline's knots, where accelerations have kinks.
    for (int64_t time = 33'000'000; time < 320 * kSecond; time += 1'230'000'000) {
        expectConsistent([&](int64_t t) { return trajectory.at(t); }, time);
        expectConsistent([&](int64_t t) { return trajectory.handMotion(Hand::kLeft, t); }, time);
        expectConsistent([&](int64_t t) { return carriedBy(trajectory.at(t), board); }, time);
    }
}

TEST(TrajectoryTest, WearerStandsStillFirstThenMovesAsPeopleDoWithinTheRoom) {
    for (const uint64_t seed : {1U, 2U}) {
        const Trajectory trajectory{seed};
        double largestRate = 0;
        double distance = 0;
        for (int64_t time = 0; time < 310 * kSecond; time += kSecond / 25) {
            const Motion head = trajectory.at(time);
            const Vector& place = head.pose.position;
            ASSERT_LT(std::abs(place.x()), 2) << time;
            ASSERT_LT(std::abs(place.y()), 1.75) << time;
            ASSERT_GT(place.z(), 0.9) << time;
            ASSERT_LT(place.z(), 1.8) << time;
            ASSERT_LT(head.acceleration.norm(), 12) << time;
            largestRate = std::max(largestRate, head.angularRate.norm());
            distance += head.velocity.norm() / 25;
            if (time < 2 * kSecond) {
                ASSERT_LT(head.velocity.norm(), 0.03) << time;
                ASSERT_LT(head.angularRate.norm(), 0.03) << time;
            }
            for (const Hand hand : {Hand::kLeft, Hand::kRight}) {
                const Motion moved = trajectory.handMotion(hand, time);
                const Vector reach = moved.pose.position - place;
                ASSERT_LT(reach.norm(), 1.1) << time;
                ASSERT_LT(std::abs(moved.pose.position.x()), 2.6) << time;
                ASSERT_LT(std::abs(moved.pose.position.y()), 2.3) << time;
            }
        }
        EXPECT_GT(largestRate, 3);
        EXPECT_LT(largestRate, 6);
        EXPECT_GT(distance, 60);
    }
}

class TrajectoryFileTest : public ::testing::Test {
  protected:
    ~TrajectoryFileTest() override { std::remove(file_.c_str()); }

    Trajectory read(const std::string& text) {
        std::ofstream(file_) << text;
        return Trajectory{file_, 1};
    }

    const std::string file_ = ::testing::TempDir() + "trajectory" + std::to_string(getpid());
};

TEST_F(TrajectoryFileTest, BothFormsGiveThePosesOfTheFileAndTheLastOneStays) {
    const std::string euroc =
        "#timestamp, p_RS_R_x [m], ...\n"
        "1403636579763555584,1,2,3,1,0,0,0,9,9\n"
        "1403636580763555584,1.5,2,3,0.8,0,0,0.6,9,9\r\n"
        "1403636582763555584,2.5,2,4,0,0,0,1,9,9\n";
    const std::string tum =
        "# timestamp tx ty tz qx qy qz qw\n"
        "1403636579.763555584 1 2 3 0 0 0 1\n\n"
        "1403636580.763555584 1.5 2 3 0 0 0.6 0.8\n"
        "1403636582.763555584 2.5 2 4 0 0 1 0\n";
    for (const std::string& text : {euroc, tum}) {
        const double secondYaw = 2 * std::asin(0.6);
        const Trajectory trajectory = read(text);
        const auto expectPose = [&](int64_t time, const Vector& place, double yaw) {
            const Pose pose = trajectory.at(time).pose;
            EXPECT_LT((pose.position - place).norm(), 1e-6) << time;
            EXPECT_LT(vectorOf(pose.orientation.conjugate() * turnBy({0, 0, yaw})).norm(), 1e-6);
        };
        expectPose(0, {1, 2, 3}, 0);
        expectPose(kSecond * 3 / 2, {1.75, 2, 3.25}, secondYaw + (M_PI - secondYaw) / 4);
        expectPose(1000 * kSecond, {2.5, 2, 4}, M_PI);
        EXPECT_LT(trajectory.at(1000 * kSecond).velocity.norm(), 1e-12);
    }
}

TEST_F(TrajectoryFileTest, UnusableFilesAreNamedWithTheLine) {
    const struct {
        std::string text;
        std::string words;
    } cases[] = {
        {"1 0 0 0 0 0 0 1\n2 0 0 0 0 0 0\n", "line 2: 7 numbers"},
        {"1 0 0 0 0 0 0 1\n2 0 0 nan 0 0 0 1\n", "line 2: not a finite"},
        {"1 0 0 0 0 0 0 2\n", "line 1: a quaternion of length 2"},
        {"1 0 0 0 0 0 0 1\n1 0 0 0 0 0 0 1\n", "line 2: not later"},
        {"1 0 0 0 0 0 0 1\n1e9 0 0 0 0 0 0 1\n", "line 2: more than"},
        {"# nothing\n1 0 0 0 0 0 0 1\n", "less than 2 poses"},
    };
    for (const auto& c : cases) {
        try {
            read(c.text);
            ADD_FAILURE() << c.text;
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), HasSubstr(file_));
            EXPECT_THAT(error.what(), HasSubstr(c.words));
        }
    }
    EXPECT_THROW(Trajectory("/nonexistent/file", 1), std::runtime_error);
}

}  // namespace
