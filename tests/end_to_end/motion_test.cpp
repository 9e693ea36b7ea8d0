// A client of the motion sensors, against the simulated service in its own process. They stream in
// the other areas' tests as well, together with what is tried there.
#include <gtest/gtest.h>
#include <vek/sensors/factories.h>

#include "end_to_end/environment.h"

namespace {

using namespace Vek::Sensors;
using TestSupport::EndToEndTest;

TEST_F(EndToEndTest, ProviderListsAndOpensEverythingThatExists) {
    const TestSupport::Simulator simulator;
    const auto provider = createMotionSensorProvider();
    ASSERT_NE(provider, nullptr);
    const MotionSensorMetadata metadata = provider->getSensorInfo();
    ASSERT_FALSE(metadata.sensors.empty());
    for (const MotionSensorInfo& info : metadata.sensors) {
        const bool isImu = info.kind == MotionSensorKind::IMU;
        const auto imu = provider->getImu(info.sensor);
        const auto mag = provider->getMag(info.sensor);
        EXPECT_EQ(imu != nullptr, isImu);
        EXPECT_EQ(mag != nullptr, !isImu);
        EXPECT_FALSE((isImu ? imu->props() : mag->props()).name.empty());
    }
    EXPECT_EQ(provider->getImu(999), nullptr);
}

}  // namespace
