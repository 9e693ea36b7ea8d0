// What clients get from the factories.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vek/sensors/factories.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

#include "support/captured_log.h"
#include "support/runtime_directory.h"

namespace {

using namespace ::testing;
using namespace Vek::Sensors;

TEST(Factories, ReturnEmptyAtOnceWithoutAServiceAndOnlyTheLightSensorsLogs) {
    const TestSupport::RuntimeDirectory withoutServices;
    TestSupport::CapturedLog log;
    EXPECT_EQ(createCameraProvider(), nullptr);
    EXPECT_EQ(createMotionSensorProvider(), nullptr);
    EXPECT_EQ(createImuSensor(), nullptr);
    EXPECT_EQ(createMagSensor(), nullptr);
    EXPECT_EQ(createIadSensor(), nullptr);
    EXPECT_EQ(createExternalTimingProvider(), nullptr);
    EXPECT_EQ(createFaceEyeTrackingLed(), nullptr);
    EXPECT_EQ(createTambStream(), nullptr);
    EXPECT_EQ(createControllerStateProvider(), nullptr);
    EXPECT_NE(createStreamCompositor(), nullptr);
    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_EQ(createFlickerSensor(nullptr), nullptr);
    EXPECT_THAT(log.take(),
                ElementsAre(TestSupport::errorLine("IFlickerSensor HAL service not running")));
}

}  // namespace
