// IMU, magnetometer and IAD sensor against services of this process.
#include "motion/motion_sensors.h"

#include <vek/sensors/factories.h>

#include <array>
#include <string>
#include <vector>

#include "support/captured_log.h"
#include "support/fake_service.h"
#include "support/fatal_calls.h"

namespace {

using namespace ::testing;
using namespace TestSupport;
using namespace Vek::Sensors::HidlWrapper;
using Vek::Sensors::ImuData;
using Vek::Sensors::MotionSensorProperties;

class MotionSensorTest : public Test {
  protected:
    MotionSensorTest() {
        const Hidl::MotionSensorProperties properties{"name", "vendor", "serial", "firmware",
                                                      2000.0F};
        imuService->returns<&Hidl::IImu::getProperties>(properties);
        magService->returns<&Hidl::IMag::getProperties>(properties);
    }

    sp<Fake<Hidl::IImu>> imuService = new Fake<Hidl::IImu>;
    sp<Fake<Hidl::IMag>> magService = new Fake<Hidl::IMag>;
    sp<Fake<Hidl::IIad>> iadService = new Fake<Hidl::IIad>;
    ImuSensor imu{sp<Hidl::IImu>(imuService)};
    MagSensor mag{sp<Hidl::IMag>(magService)};
    IadSensor iad{sp<Hidl::IIad>(iadService)};
    CompositeStream composite{"motion"};
};
using MotionSensorDeathTest = MotionSensorTest;

TEST_F(MotionSensorTest, SamplesReachTheCallbackFieldForField) {
    std::vector<ImuData> received;
    imu.stream().setCallbackv([&](Vek::Sensors::IDataStream<ImuData>::Batch spans) {
        received.assign(spans[0].begin(), spans[0].end());
    });
    imu.stream().addTo(composite);
    using Axes = std::array<float, 3>;
    ASSERT_TRUE(imuService->end<Hidl::ImuData>().writeAndSignal(
        {{1, 2, Axes{3, 4, 5}, Axes{6, 7, 8}, 9, 10, 11, 2, 12, 13}}));
    composite.wait();
    EXPECT_THAT(received,
                ElementsAre(FieldsAre(1, 2, Axes{3, 4, 5}, Axes{6, 7, 8}, 9, 10, 11,
                                      Vek::Sensors::MOTION_SAMPLE_DISCONTINUITY, 12, 13)));
}

TEST_F(MotionSensorTest, SettingsAndCommandsAreSentUnchangedBeforeTheStreamIsAdded) {
    imu.configureStream({2000, 8});
    EXPECT_THAT(imuService->calls,
                ElementsAre("configureStream {.sampleRate = 2000, .batchSize = 8}"));
    mag.stop();
    mag.configureStream({200, 4});
    EXPECT_THAT(magService->calls,
                ElementsAre("controlStream false STOP",
                            "configureStream {.sampleRate = 200, .batchSize = 4}"));
    EXPECT_EQ(iad.range(), 0) << "which asks nobody";
}

TEST_F(MotionSensorTest, PropertiesAreReturnedEvenWithAnErrorWhichIsLogged) {
    const auto expectAll = [](const MotionSensorProperties& properties) {
        EXPECT_THAT(properties, FieldsAre("name", "vendor", "serial", "firmware", 2000.0F));
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

TEST_F(MotionSensorDeathTest, UndeliveredAndRefusedCallsAreFatalWithTheirOwnMessages) {
    const std::string failed = " stream command failed with result: 4";
    const std::string notConfigured = " stream could not configure stream with result: 4";
    const std::string configure = "configureStream(const Vek::Sensors::MotionStreamProperties &)";
    const std::string record = "vendor::zelvan::hardware::sensors::V1_0::ImuData";
    const std::string properties = "Vek::Sensors::MotionSensorProperties ";
    expectFatal(*imuService, "",
                {{"void ", "ImuSensor::start()", [&] { imu.start(); }, "Start imu" + failed},
                 {"void ", "ImuSensor::stop()", [&] { imu.stop(); }, "Stop imu" + failed},
                 {"void ", "ImuSensor::" + configure, [&] { imu.configureStream({}); },
                  "Stop imu" + notConfigured},
                 {properties, "ImuSensor::props()", [&] { imu.props(); }},
                 {"void ",
                  "StreamHandle<Vek::Sensors::ImuData, " + record +
                      ">::prepareStream(android::hardware::hidl_handle, "
                      "android::hardware::EventFlag *, uint32_t, uint32_t) [Data = "
                      "Vek::Sensors::ImuData, HidlData = " +
                      record + "]",
                  [&] { imu.stream().addTo(composite); }}});
    expectFatal(*magService, "MagSensor::",
                {{"void ", "start()", [&] { mag.start(); }, "Start mag" + failed},
                 {"void ", "stop()", [&] { mag.stop(); }, "Stop mag" + failed},
                 {"void ", configure, [&] { mag.configureStream({}); }, "Stop mag" + notConfigured},
                 {properties, "props()", [&] { mag.props(); }}});
    expectFatal(*iadService, "IadSensor::",
                {{"void ", "start()", [&] { iad.start(); }, "Start iad" + failed},
                 {"void ", "stop()", [&] { iad.stop(); }, "Stop iad" + failed}});
}

}  // namespace
