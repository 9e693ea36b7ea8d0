// The LEDs against a service of this process, which the object looks up by itself.
#include "environment/face_eye_tracking_led.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <vek/sensors/factories.h>

#include <set>

#include "environment/fatal_calls.h"
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
using Vek::Sensors::HidlWrapper::FaceEyeTrackingLed;
namespace Hidl = Vek::Sensors::Hidl;

class FaceEyeTrackingLedTest : public ::testing::Test {
  protected:
    FaceEyeTrackingLedTest() {
        std::string directory = ::testing::TempDir() + "moriak-led-XXXXXX";
        EXPECT_NE(mkdtemp(directory.data()), nullptr);
        EXPECT_EQ(setenv("MORIAK_HIDL_RUNTIME_DIR", directory.c_str(), 1), 0);
        EXPECT_EQ(service->registerAsService("default"), android::OK);
        led = Vek::Sensors::createFaceEyeTrackingLed();
    }

    android::sp<TestSupport::FakeFaceEyeTrackingLed> service =
        new TestSupport::FakeFaceEyeTrackingLed;
    std::unique_ptr<Vek::Sensors::IFaceEyeTrackingLed> led;
};
using FaceEyeTrackingLedDeathTest = FaceEyeTrackingLedTest;

TEST_F(FaceEyeTrackingLedTest, EachOperationJudgesTheResultInItsOwnWay) {
    const auto setConfigs = [&] { return led->setConfigs({}); };
    const auto enable = [&] { return led->enable(); };
    const auto disable = [&] { return led->disable(); };
    const auto start = [&] { return led->startOverridingLedSettings(); };
    const auto stop = [&] { return led->stopOverridingLedSettings(); };
    const std::string refused = "Failed to update face eye tracking LED configurations with error ";
    struct {
        std::function<bool()> operation;
        uint32_t result;
        bool expected;
        std::vector<LogLine> log;
    } const rows[] = {
        {setConfigs, 0, true, {}},
        {setConfigs, 4, true, {warningLine("Failed to set LED configurations")}},
        {setConfigs, 1, false, {errorLine(refused + "1l")}},
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

TEST_F(FaceEyeTrackingLedTest, EachOperationIsOneCallOfOneClient) {
    led->setConfigs({});
    led->enable();
    led->disable();
    led->startOverridingLedSettings();
    led->stopOverridingLedSettings();
    led = nullptr;  // sends nothing more: an override stays
    EXPECT_THAT(service->calls,
                ElementsAre("setConfigurations", "enable", "disable", "startOverridingLedSettings",
                            "stopOverridingLedSettings"));
    EXPECT_EQ(service->unlinkCalls, 1);
    EXPECT_EQ(std::set(service->clients.begin(), service->clients.end()).size(), 1U);
    std::string name;
    service->clients[0]
        ->getSensorClientInfo([&](Hidl::Result, const auto& info) { name = info.name; })
        .isOk();
    EXPECT_EQ(name, "clientId");
}

TEST_F(FaceEyeTrackingLedTest, ConfigurationsAndGroupsPassUnchanged) {
    const auto unknown = static_cast<FaceEyeTrackingLedGroup>(255);
    led->setConfigs({{FaceEyeTrackingLedGroup::FACE, 1, 2, 3}, {unknown, 4, 5, 6}});
    led->setConfigs({});
    ASSERT_EQ(service->configurations.size(), 2U);
    EXPECT_THAT(
        service->configurations[0],
        ElementsAre(
            Hidl::FaceEyeTrackingLedConfiguration{Hidl::FaceEyeTrackingLedGroup::FACE, 1, 2, 3},
            Hidl::FaceEyeTrackingLedConfiguration{static_cast<Hidl::FaceEyeTrackingLedGroup>(255),
                                                  4, 5, 6}));
    EXPECT_EQ(service->configurations[1].size(), 0U);
    EXPECT_EQ(led->getNumChannels(FaceEyeTrackingLedGroup::LEFT_EYE), 0U);
    EXPECT_EQ(led->getNumChannels(unknown), 255U);
}

TEST_F(FaceEyeTrackingLedDeathTest, FailedTransportIsFatalWithTheSignature) {
    service->transportFails = true;
    TestSupport::expectFatalTransport(
        "FaceEyeTrackingLed",
        {{[&] { led->setConfigs({}); },
          "bool setConfigs(std::vector<FaceEyeTrackingLedConfiguration>)"},
         {[&] { led->enable(); }, "bool enable()"},
         {[&] { led->disable(); }, "bool disable()"},
         {[&] { led->getNumChannels(FaceEyeTrackingLedGroup::FACE); },
          "uint8_t getNumChannels(Vek::Sensors::FaceEyeTrackingLedGroup)"},
         {[&] { led->startOverridingLedSettings(); }, "bool startOverridingLedSettings()"},
         {[&] { led->stopOverridingLedSettings(); }, "bool stopOverridingLedSettings()"}});
}

TEST(FaceEyeTrackingLedContractDeathTest, MissingServiceIsAContractFailure) {
    ASSERT_EQ(setenv("MORIAK_HIDL_RUNTIME_DIR", "/nonexistent", 1), 0);
    EXPECT_DEATH(FaceEyeTrackingLed(),
                 HasSubstr("GSL Precondition failure at "
                           "external/Microsoft-GSL/include/gsl/pointers: 83 `ptr_ != nullptr`"));
}

}  // namespace
