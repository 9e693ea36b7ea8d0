// What clients get from the factories.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <vek/sensors/factories.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

#include "support/captured_log.h"

namespace {

using namespace ::testing;
using namespace Vek::Sensors;

TEST(Factories, WithoutAServiceAreEmptyAtOnceAndSilentButForTheLightSensors) {
    std::string directory = TempDir() + "moriak-no-service-XXXXXX";
    ASSERT_NE(mkdtemp(directory.data()), nullptr);
    ASSERT_EQ(setenv("MORIAK_HIDL_RUNTIME_DIR", directory.c_str(), 1), 0);
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
