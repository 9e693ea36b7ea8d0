// The LEDs against a service of this process, which the object looks up by itself.
#include "environment/face_eye_tracking_led.h"

#include <vek/sensors/factories.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/captured_log.h"
#include "support/fake_service.h"
#include "support/fatal_calls.h"
#include "support/runtime_directory.h"

namespace {

using namespace ::testing;
using namespace TestSupport;
using Vek::Sensors::FaceEyeTrackingLedGroup;

class FaceEyeTrackingLedTest : public Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(service->registerAsService("default"), android::OK);
        // The count tells which group was asked for.
        service->on<&Hidl::IFaceEyeTrackingLed::getChannelCount>(
            [](Hidl::FaceEyeTrackingLedGroup group) { return static_cast<uint8_t>(group); });
        led = Vek::Sensors::createFaceEyeTrackingLed();
    }

    const RuntimeDirectory directory;
    sp<Fake<Hidl::IFaceEyeTrackingLed>> service = new Fake<Hidl::IFaceEyeTrackingLed>;
    std::unique_ptr<Vek::Sensors::IFaceEyeTrackingLed> led;
    const std::function<bool()> setConfigs = [this] { return led->setConfigs({}); };
    const std::function<bool()> enable = [this] { return led->enable(); };
    const std::function<bool()> disable = [this] { return led->disable(); };
    const std::function<bool()> start = [this] { return led->startOverridingLedSettings(); };
    const std::function<bool()> stop = [this] { return led->stopOverridingLedSettings(); };
};
using FaceEyeTrackingLedDeathTest = FaceEyeTrackingLedTest;

TEST_F(FaceEyeTrackingLedTest, EachOperationMapsTheResultByItsOwnRule) {
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

TEST_F(FaceEyeTrackingLedTest, EachOperationIsOneCallOfOneClientThatPassesAllUnchanged) {
    const auto unknown = static_cast<FaceEyeTrackingLedGroup>(255);
    led->setConfigs({{FaceEyeTrackingLedGroup::FACE, 1, 2, 3}, {unknown, 4, 5, 6}});
    for (const auto& operation : {setConfigs, enable, disable, start, stop}) {
        operation();
    }
    EXPECT_EQ(led->getNumChannels(FaceEyeTrackingLedGroup::LEFT_EYE), 0U);
    EXPECT_EQ(led->getNumChannels(unknown), 255U);
    led = nullptr;  // which calls nothing
    EXPECT_THAT(
        service->calls,
        ElementsAre(
            "setConfigurations true [{.group = FACE, .channel = 1, .current = 2, .pulseWidth = 3}, "
            "{.group = 0xff, .channel = 4, .current = 5, .pulseWidth = 6}]",
            "setConfigurations true []", "enable true", "disable true",
            "startOverridingLedSettings true", "stopOverridingLedSettings true"));
    EXPECT_EQ(service->unlinkCalls, 1);
}

TEST_F(FaceEyeTrackingLedDeathTest, FailedTransportIsFatalWithTheSignature) {
    expectFatal(*service, "FaceEyeTrackingLed::",
                {{"bool ", "setConfigs(std::vector<FaceEyeTrackingLedConfiguration>)", setConfigs},
                 {"uint8_t ", "getNumChannels(Vek::Sensors::FaceEyeTrackingLedGroup)",
                  [&] { led->getNumChannels(FaceEyeTrackingLedGroup::FACE); }},
                 {"bool ", "enable()", enable},
                 {"bool ", "disable()", disable},
                 {"bool ", "startOverridingLedSettings()", start},
                 {"bool ", "stopOverridingLedSettings()", stop}});
}

TEST_F(FaceEyeTrackingLedDeathTest, ServiceThatIsGoneIsAContractFailure) {
    ASSERT_EQ(setenv("MORIAK_HIDL_RUNTIME_DIR", "/nonexistent", 1), 0);
    EXPECT_DEATH(Vek::Sensors::HidlWrapper::FaceEyeTrackingLed(), HasSubstr(kNullPointer));
}

}  // namespace
