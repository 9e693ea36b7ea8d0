// What clients get from the factories, and what the service learns of a client.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <vek/sensors/factories.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

#include "foundation/sensor_client.h"
#include "support/captured_log.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace Hidl = Vek::Sensors::Hidl;

TEST(Factories, WithoutAServiceAreEmptyAtOnceAndSilentButForTheLightSensors) {
    std::string directory = ::testing::TempDir() + "moriak-no-service-XXXXXX";
    ASSERT_NE(mkdtemp(directory.data()), nullptr);
    ASSERT_EQ(setenv("MORIAK_HIDL_RUNTIME_DIR", directory.c_str(), 1), 0);
    TestSupport::CapturedLog log;
    EXPECT_EQ(Vek::Sensors::createCameraProvider(), nullptr);
    EXPECT_EQ(Vek::Sensors::createMotionSensorProvider(), nullptr);
    EXPECT_EQ(Vek::Sensors::createImuSensor(), nullptr);
    EXPECT_EQ(Vek::Sensors::createMagSensor(), nullptr);
    EXPECT_EQ(Vek::Sensors::createIadSensor(), nullptr);
    EXPECT_EQ(Vek::Sensors::createExternalTimingProvider(), nullptr);
    EXPECT_EQ(Vek::Sensors::createFaceEyeTrackingLed(), nullptr);
    EXPECT_EQ(Vek::Sensors::createTambStream(), nullptr);
    EXPECT_EQ(Vek::Sensors::createControllerStateProvider(), nullptr);
    EXPECT_NE(Vek::Sensors::createStreamCompositor(), nullptr);
    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_EQ(Vek::Sensors::createFlickerSensor(nullptr), nullptr);
    EXPECT_THAT(log.take(),
                ElementsAre(TestSupport::errorLine("IFlickerSensor HAL service not running")));
}

TEST(SensorClient, AnswersSuccessWithItsName) {
    const android::sp<Hidl::ISensorClient> client =
        new Vek::Sensors::HidlWrapper::SensorClient("tracker");
    const auto status = client->getSensorClientInfo([](Hidl::Result result, const auto& info) {
        EXPECT_EQ(result, Hidl::Result::SUCCESS);
        EXPECT_EQ(info.name, "tracker");
    });
    EXPECT_TRUE(status.isOk());
}

}  // namespace
