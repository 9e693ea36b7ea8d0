// The LEDs against a service of this process, which the object looks up by itself.
#include "environment/face_eye_tracking_led.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <vek/sensors/factories.h>

#include "support/captured_log.h"
#include "support/fake_environment_hal.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using TestSupport::CapturedLog;
using TestSupport::errorLine;
using TestSupport::LogLine;
using TestSupport::warningLine;
using Vek::Sensors::FaceEyeTrackingLedGroup;
namespace Hidl = Vek::Sensors::Hidl;

class FaceEyeTrackingLedTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string directory = ::testing::TempDir() + "moriak-led-XXXXXX";
        ASSERT_NE(mkdtemp(directory.data()), nullptr);
        ASSERT_EQ(setenv("MORIAK_HIDL_RUNTIME_DIR", directory.c_str(), 1), 0);
        ASSERT_EQ(service->registerAsService("default"), android::OK);
        led = Vek::Sensors::createFaceEyeTrackingLed();
    }

    android::sp<TestSupport::FakeFaceEyeTrackingLed> service =
        new TestSupport::FakeFaceEyeTrackingLed;
    std::unique_ptr<Vek::Sensors::IFaceEyeTrackingLed> led;
    const std::function<bool()> setConfigs = [this] { return led->setConfigs({}); };
    const std::function<bool()> enable = [this] { return led->enable(); };
    const std::function<bool()> disable = [this] { return led->disable(); };
    const std::function<bool()> start = [this] { return led->startOverridingLedSettings(); };
    const std::function<bool()> stop = [this] { return led->stopOverridingLedSettings(); };
};
using FaceEyeTrackingLedDeathTest = FaceEyeTrackingLedTest;

TEST_F(FaceEyeTrackingLedTest, EachOperationJudgesTheResultInItsOwnWay) {
    const std::string refused = "Failed to update face eye tracking LED configurations with error ";
    struct {
        std::function<bool()> operation;
        uint32_t result;
        bool expected;
        std::vector<LogLine> log;
    } const rows[] = {
        {setConfigs, 0, true, {}},
        {setConfigs, 4, true, {warningLine("Failed to set LED configurations")}},
        {setConfigs, 2, false, {errorLine(refused + "2l")}},
        {setConfigs, 0xffffffff, false, {errorLine(refused + "4294967295l")}},
        {enable, 0, true, {}},
        {enable, 4, true, {warningLine("Failed to enable LEDs")}},
        {enable, 1, false, {}},
        {disable, 0, true, {}},
        {disable, 4, true, {warningLine("Failed to disable LEDs")}},
        {disable, 2, false, {}},
        {start, 0, true, {}},
        {start, 4, false, {}},
        {start, 2, false, {}},
        {stop, 0, true, {}},
        {stop, 4, false, {}},
        {stop, 1, false, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        service->result = static_cast<Hidl::Result>(row.result);
        CapturedLog log;
        EXPECT_EQ(row.operation(), row.expected);
        EXPECT_EQ(log.take(), row.log);
    }
}

TEST_F(FaceEyeTrackingLedTest, EachOperationIsOneCallOfOneClientAndDestructionIsNone) {
    for (const auto& operation : {setConfigs, enable, disable, start, stop}) {
        operation();
    }
    led = nullptr;
    const auto client = std::get<1>(service->calls.at(0));
    EXPECT_THAT(service->calls,
                ElementsAre(std::tuple("setConfigurations", client), std::tuple("enable", client),
                            std::tuple("disable", client), std::tuple("startOverriding", client),
                            std::tuple("stopOverriding", client)));
    EXPECT_EQ(service->unlinkCalls, 1);
}

TEST_F(FaceEyeTrackingLedTest, ConfigurationsAndGroupsPassUnchanged) {
    const auto unknown = static_cast<FaceEyeTrackingLedGroup>(255);
    led->setConfigs({{FaceEyeTrackingLedGroup::FACE, 1, 2, 3}, {unknown, 4, 5, 6}});
    using Configuration = Hidl::FaceEyeTrackingLedConfiguration;
    using Group = Hidl::FaceEyeTrackingLedGroup;
    EXPECT_THAT(service->configurations,
                ElementsAre(Configuration{Group::FACE, 1, 2, 3},
                            Configuration{static_cast<Group>(255), 4, 5, 6}));
    led->setConfigs({});
    EXPECT_EQ(service->configurations.size(), 0U);
    EXPECT_EQ(led->getNumChannels(FaceEyeTrackingLedGroup::LEFT_EYE), 0U);
    EXPECT_EQ(led->getNumChannels(unknown), 255U);
}

TEST_F(FaceEyeTrackingLedDeathTest, FailedTransportIsFatalWithTheSignature) {
    service->transportFails = true;
    const auto text = [](const std::string& type, const std::string& function) {
        return HasSubstr("F/Moriak-HidlWrapper: HIDL error in virtual " + type +
                         " Vek::Sensors::HidlWrapper::FaceEyeTrackingLed::" + function + ": ");
    };
    EXPECT_DEATH(setConfigs(),
                 text("bool", "setConfigs(std::vector<FaceEyeTrackingLedConfiguration>)"));
    EXPECT_DEATH(led->getNumChannels(FaceEyeTrackingLedGroup::FACE),
                 text("uint8_t", "getNumChannels(Vek::Sensors::FaceEyeTrackingLedGroup)"));
    EXPECT_DEATH(enable(), text("bool", "enable()"));
    EXPECT_DEATH(disable(), text("bool", "disable()"));
    EXPECT_DEATH(start(), text("bool", "startOverridingLedSettings()"));
    EXPECT_DEATH(stop(), text("bool", "stopOverridingLedSettings()"));
}

TEST_F(FaceEyeTrackingLedDeathTest, ServiceThatIsGoneIsAContractFailure) {
    ASSERT_EQ(setenv("MORIAK_HIDL_RUNTIME_DIR", "/nonexistent", 1), 0);
    EXPECT_DEATH(Vek::Sensors::HidlWrapper::FaceEyeTrackingLed(),
                 HasSubstr("GSL Precondition failure at "
                           "external/Microsoft-GSL/include/gsl/pointers: 83 `ptr_ != nullptr`"));
}

}  // namespace
