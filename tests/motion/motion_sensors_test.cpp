// IMU, magnetometer and IAD sensor against services of this process.
#include "motion/motion_sensors.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vek/sensors/factories.h>

#include <array>
#include <cstring>

#include "support/captured_log.h"
#include "support/fake_motion_hal.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using namespace std::chrono_literals;
using TestSupport::CapturedLog;
using TestSupport::errorLine;
using TestSupport::FakeIad;
using TestSupport::FakeImu;
using TestSupport::FakeMag;
using Vek::Sensors::ImuData;
using Vek::Sensors::MotionSensorProperties;
using Vek::Sensors::WaitResult;
namespace Hidl = Vek::Sensors::Hidl;

class MotionSensorTest : public ::testing::Test {
  protected:
    android::sp<FakeImu> imuService = new FakeImu;
    android::sp<FakeMag> magService = new FakeMag;
    android::sp<FakeIad> iadService = new FakeIad;
    Vek::Sensors::HidlWrapper::ImuSensor imu{android::sp<Hidl::IImu>(imuService)};
    Vek::Sensors::HidlWrapper::MagSensor mag{android::sp<Hidl::IMag>(magService)};
    Vek::Sensors::HidlWrapper::IadSensor iad{android::sp<Hidl::IIad>(iadService)};
};
using MotionSensorDeathTest = MotionSensorTest;

TEST_F(MotionSensorTest, SamplesReachTheCallbackFieldForField) {
    const auto composite = Vek::Sensors::createStreamCompositor()->createCompositeStream("motion");
    std::vector<ImuData> received;
    imu.stream().setCallbackv([&](gsl::span<const gsl::span<const ImuData>> spans) {
        received.assign(spans[0].begin(), spans[0].end());
    });
    imu.stream().addTo(*composite);
    imu.start();
    EXPECT_THAT(imuService->commands, ElementsAre(Hidl::StreamCommand::START));
    EXPECT_EQ(imuService->controlClient, imuService->end.client);

    using Axes = std::array<float, 3>;
    ASSERT_TRUE(imuService->end.writeAndSignal(
        {{1, 2, Axes{3, 4, 5}, Axes{6, 7, 8}, 9, 10, 11, 2, 12, 13}}));
    EXPECT_EQ(composite->waitFor(10s), WaitResult::DELIVERED);
    const ImuData expected{
        1, 2, {3, 4, 5}, {6, 7, 8}, 9, 10, 11, Vek::Sensors::MOTION_SAMPLE_DISCONTINUITY, 12, 13};
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(memcmp(&received[0], &expected, sizeof(expected)), 0);
}

TEST_F(MotionSensorTest, ControlCallsGoOutInAnyOrder) {
    mag.stop();
    mag.start();
    mag.configureStream({200, 4});
    iad.stop();
    EXPECT_THAT(magService->commands,
                ElementsAre(Hidl::StreamCommand::STOP, Hidl::StreamCommand::START));
    EXPECT_EQ(magService->configuration, (Hidl::MotionStreamProperties{200, 4}));
    EXPECT_THAT(iadService->commands, ElementsAre(Hidl::StreamCommand::STOP));
}

TEST_F(MotionSensorTest, PropertiesComeThroughEvenWithAnErrorThatIsLogged) {
    const auto expectAll = [](const MotionSensorProperties& p) {
        EXPECT_THAT((std::array{p.name, p.vendor, p.serialNumber, p.firmwareVersion}),
                    ElementsAre("name", "vendor", "serial", "firmware"));
        EXPECT_EQ(p.maxSampleRate, 2000.0F);
    };
    CapturedLog log;
    expectAll(imu.props());
    EXPECT_THAT(log.take(), IsEmpty());
    imuService->result = Hidl::Result::FAILURE;
    magService->result = Hidl::Result::BAD_STATE;
    expectAll(imu.props());
    expectAll(mag.props());
    const std::string text =
        "Error fetching imu sensor properties, some properties may be invalid: ";
    EXPECT_THAT(log.take(), ElementsAre(errorLine(text + "1"), errorLine(text + "2")));
}

TEST_F(MotionSensorDeathTest, RefusedControlCallsAreFatalWithTheirOwnWords) {
    imuService->result = Hidl::Result::FAILURE;
    magService->result = Hidl::Result::BAD_STATE;
    iadService->result = Hidl::Result::IGNORED;
    const auto text = [](const std::string& message) {
        return "Assertion failed: hidlReturn != Hidl::Result::SUCCESS\nF/Moriak-HidlWrapper: " +
               message + "\n";
    };
    EXPECT_DEATH(imu.start(), text("Start imu stream command failed with result: 1"));
    EXPECT_DEATH(imu.stop(), text("Stop imu stream command failed with result: 1"));
    EXPECT_DEATH(imu.configureStream({}),
                 text("Stop imu stream could not configure stream with result: 1"));
    EXPECT_DEATH(mag.start(), text("Start mag stream command failed with result: 2"));
    EXPECT_DEATH(mag.stop(), text("Stop mag stream command failed with result: 2"));
    EXPECT_DEATH(mag.configureStream({}),
                 text("Stop mag stream could not configure stream with result: 2"));
    EXPECT_DEATH(iad.start(), text("Start iad stream command failed with result: 4"));
    EXPECT_DEATH(iad.stop(), text("Stop iad stream command failed with result: 4"));
    EXPECT_EQ(iad.range(), 0) << "which asks nobody";
}

TEST_F(MotionSensorDeathTest, FailedTransportIsFatalWithTheSignature) {
    imuService->transportFails = magService->transportFails = iadService->transportFails = true;
    const auto text = [](const std::string& signature) {
        return ::testing::AllOf(
            HasSubstr("F/Moriak-HidlWrapper: HIDL error in virtual " + signature + ": "),
            HasSubstr("DEAD_OBJECT"));
    };
    const std::string scope = "Vek::Sensors::HidlWrapper::";
    EXPECT_DEATH(imu.start(), text("void " + scope + "ImuSensor::start()"));
    EXPECT_DEATH(imu.stop(), text("void " + scope + "ImuSensor::stop()"));
    EXPECT_DEATH(imu.configureStream({}), text("void " + scope +
                                               "ImuSensor::configureStream(const "
                                               "Vek::Sensors::MotionStreamProperties &)"));
    EXPECT_DEATH(mag.props(),
                 text("Vek::Sensors::MotionSensorProperties " + scope + "MagSensor::props()"));
    EXPECT_DEATH(iad.start(), text("void " + scope + "IadSensor::start()"));

    const auto composite = Vek::Sensors::createStreamCompositor()->createCompositeStream("motion");
    const std::string record = "vendor::zelvan::hardware::sensors::V1_0::ImuData";
    EXPECT_DEATH(imu.stream().addTo(*composite),
                 text("void " + scope + "StreamHandle<Vek::Sensors::ImuData, " + record +
                      ">::prepareStream(android::hardware::hidl_handle, "
                      "android::hardware::EventFlag *, uint32_t, uint32_t) [Data = "
                      "Vek::Sensors::ImuData, HidlData = " +
                      record + "]"));
}

TEST_F(MotionSensorDeathTest, NullServiceIsAContractFailure) {
    EXPECT_DEATH(Vek::Sensors::HidlWrapper::ImuSensor(android::sp<Hidl::IImu>()),
                 HasSubstr("GSL Precondition failure at "
                           "external/Microsoft-GSL/include/gsl/pointers: 83 `ptr_ != nullptr`"));
}

}  // namespace
