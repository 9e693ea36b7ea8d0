// The provider alive, and dead with its service.
#include "motion/motion_sensor_provider.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/captured_log.h"
#include "support/fake_motion_hal.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using TestSupport::CapturedLog;
using TestSupport::errorLine;
using TestSupport::FakeMotionSensorProvider;
using Vek::Sensors::MotionSensorMount;
using Vek::Sensors::HidlWrapper::MotionSensorProvider;
namespace Hidl = Vek::Sensors::Hidl;

const std::string kScope = "Vek::Sensors::HidlWrapper::MotionSensorProvider::";
const std::string kGetSensorInfo =
    "virtual Vek::Sensors::MotionSensorMetadata " + kScope + "getSensorInfo()";
const std::string kGetImu = "virtual std::unique_ptr<IImuSensor> " + kScope + "getImu(uint32_t)";
const std::string kGetMag = "virtual std::unique_ptr<IMagSensor> " + kScope + "getMag(uint32_t)";

class MotionSensorProviderTest : public ::testing::Test {
  protected:
    android::sp<FakeMotionSensorProvider> service = new FakeMotionSensorProvider;
    MotionSensorProvider provider{android::sp<Hidl::IMotionSensorProvider>(service)};
};
using MotionSensorProviderDeathTest = MotionSensorProviderTest;

TEST_F(MotionSensorProviderTest, ListIsKeptAsItCameEvenWithAnErrorThatIsLogged) {
    service->metadata.sensors = {
        {7, Hidl::MotionSensorKind::MAGNETOMETER, Hidl::MotionSensorMount::BOARD, 3},
        {8, static_cast<Hidl::MotionSensorKind>(200), Hidl::MotionSensorMount::HEADSET, 4}};
    service->result = Hidl::Result::FAILURE;
    CapturedLog log;
    const auto metadata = provider.getSensorInfo();
    EXPECT_THAT(log.take(), ElementsAre(errorLine("Error fetching sensor info: 1")));
    ASSERT_EQ(metadata.sensors.size(), 2U);
    EXPECT_EQ(metadata.sensors[0].sensor, 7U);
    EXPECT_EQ(metadata.sensors[0].mount, MotionSensorMount::BOARD);
    EXPECT_EQ(metadata.sensors[0].index, 3U);
    EXPECT_EQ(static_cast<int>(metadata.sensors[1].kind), 200);
}

TEST_F(MotionSensorProviderTest, UnknownSensorsAreEmptyAndSilent) {
    CapturedLog log;
    EXPECT_NE(provider.getImu(0), nullptr);
    EXPECT_NE(provider.getMag(1), nullptr);
    EXPECT_EQ(provider.getImu(1), nullptr);
    EXPECT_EQ(provider.getMag(0), nullptr);
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(MotionSensorProviderDeathTest, FailedTransportIsFatalWithTheSignature) {
    service->transportFails = true;
    EXPECT_DEATH((void)provider.getSensorInfo(), HasSubstr("HIDL error in " + kGetSensorInfo));
    EXPECT_DEATH((void)provider.getImu(0), HasSubstr("HIDL error in " + kGetImu));
    EXPECT_DEATH((void)provider.getMag(0), HasSubstr("HIDL error in " + kGetMag));
}

// The reaction to a death happens once for a process, so this runs in a child.
TEST_F(MotionSensorProviderTest, DeadProviderAnswersEmptyWithALineForEachCall) {
    const auto dead = [](const std::string& function) {
        return "E/Moriak-HidlWrapper: " + function +
               " called on dead MotionSensorProvider object\n";
    };
    EXPECT_EXIT(
        {
            service->die();
            const bool empty = provider.getSensorInfo().sensors.empty() &&
                               provider.getImu(0) == nullptr && provider.getMag(1) == nullptr &&
                               service->unlinkCalls == 1;
            _exit(empty ? 0 : 1);
        },
        ::testing::ExitedWithCode(0),
        AllOf(HasSubstr("motion_tests invoking custom coronaries.\n"
                        "E/Moriak-HidlWrapper: MotionSensorProvider death callback\n"
                        "E/Moriak-HidlWrapper: Unexpected service death detected. "),
              HasSubstr("motion_tests ignoring.\n" + dead(kGetSensorInfo) + dead(kGetImu) +
                        dead(kGetMag))));
}

}  // namespace
