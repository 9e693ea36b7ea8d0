// The light sensor and external timing against services of this process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <vek/sensors/factories.h>

#include <cstring>

#include "environment/external_timing_provider.h"
#include "environment/fatal_calls.h"
#include "environment/flicker_sensor_provider.h"
#include "support/captured_log.h"
#include "support/fake_environment_hal.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using namespace std::chrono_literals;
using TestSupport::CapturedLog;
using TestSupport::errorLine;
using TestSupport::FakeExternalTiming;
using TestSupport::FakeFlickerSensor;
using Vek::Sensors::IDataStream;
using Vek::Sensors::HidlWrapper::ExternalTimingProvider;
using Vek::Sensors::HidlWrapper::FlickerSensorProvider;
namespace Hidl = Vek::Sensors::Hidl;

class SensorStreamsTest : public ::testing::Test {
  protected:
    /// Sends a record of which no two neighbouring bytes are alike and expects the same bytes.
    template <typename Data, typename Record>
    void expectSameBytes(IDataStream<Data>& stream, TestSupport::ServiceEnd<Record>& end) {
        std::vector<Data> received;
        stream.setCallbackv([&](gsl::span<const gsl::span<const Data>> spans) {
            received.insert(received.end(), spans[0].begin(), spans[0].end());
        });
        std::vector<Record> sent(1);
        auto* const bytes = reinterpret_cast<unsigned char*>(sent.data());
        for (size_t i = 0; i < sizeof(Record); ++i) {
            bytes[i] = static_cast<unsigned char>(i * 7 + i / 256);
        }
        ASSERT_TRUE(end.writeAndSignal(sent));
        EXPECT_EQ(composite->waitFor(10s), Vek::Sensors::WaitResult::DELIVERED);
        ASSERT_EQ(received.size(), 1U);
        EXPECT_EQ(std::memcmp(received.data(), sent.data(), sizeof(Record)), 0);
    }

    android::sp<FakeFlickerSensor> light = new FakeFlickerSensor;
    android::sp<FakeExternalTiming> clock = new FakeExternalTiming;
    FlickerSensorProvider sensor{android::sp<Hidl::IFlickerSensor>(light)};
    ExternalTimingProvider timing{android::sp<Hidl::IExternalTimingProvider>(clock)};
    std::unique_ptr<Vek::Sensors::ICompositeStream> composite =
        Vek::Sensors::createStreamCompositor()->createCompositeStream("environment");
};
using SensorStreamsDeathTest = SensorStreamsTest;

TEST_F(SensorStreamsTest, EachStreamHasItsOwnQueueAndDeliversTheRecordsBytes) {
    sensor.flickerStream().addTo(*composite);
    sensor.adcFlickerStream().addTo(*composite);
    sensor.ambientLightStream().addTo(*composite);
    timing.streamExternalTimestampData().addTo(*composite);
    expectSameBytes(sensor.flickerStream(), light->flicker);
    expectSameBytes(sensor.adcFlickerStream(), light->adcFlicker);
    expectSameBytes(sensor.ambientLightStream(), light->ambientLight);
    expectSameBytes(timing.streamExternalTimestampData(), clock->end);
}

TEST_F(SensorStreamsTest, CommandsGoToTheirStreamWithItsClientAsOftenAsTheyAreGiven) {
    sensor.flickerStream().addTo(*composite);
    sensor.adcFlickerStream().addTo(*composite);
    sensor.ambientLightStream().addTo(*composite);
    timing.streamExternalTimestampData().addTo(*composite);
    sensor.flickerStart();
    sensor.adcFlickerStart();
    sensor.ambientLightStart();
    sensor.flickerStop();
    sensor.adcFlickerStop();
    sensor.ambientLightStop();
    sensor.ambientLightStop();
    timing.startExternalTimestampDataStream();
    timing.startExternalTimestampDataStream();
    timing.stopExternalTimestampDataStream();

    using Hidl::StreamCommand;
    const auto is = [](const char* stream, StreamCommand command, const auto& end) {
        return ::testing::FieldsAre(stream, command, end.client);
    };
    EXPECT_THAT(light->commands,
                ElementsAre(is("flicker", StreamCommand::START, light->flicker),
                            is("ADC flicker", StreamCommand::START, light->adcFlicker),
                            is("ambient light", StreamCommand::START, light->ambientLight),
                            is("flicker", StreamCommand::STOP, light->flicker),
                            is("ADC flicker", StreamCommand::STOP, light->adcFlicker),
                            is("ambient light", StreamCommand::STOP, light->ambientLight),
                            is("ambient light", StreamCommand::STOP, light->ambientLight)));
    EXPECT_NE(light->flicker.client, light->adcFlicker.client);
    EXPECT_NE(light->adcFlicker.client, light->ambientLight.client);
    EXPECT_THAT(clock->commands,
                ElementsAre(StreamCommand::START, StreamCommand::START, StreamCommand::STOP));
    EXPECT_EQ(clock->controlClient, clock->end.client);
}

TEST_F(SensorStreamsTest, DestructionUnlinksAndSendsNoStop) {
    Vek::Sensors::createFlickerSensor(light)->flickerStart();
    ExternalTimingProvider{android::sp<Hidl::IExternalTimingProvider>(clock)}
        .startExternalTimestampDataStream();
    EXPECT_EQ(light->commands.size(), 1U);
    EXPECT_EQ(light->unlinkCalls, 1);
    EXPECT_THAT(clock->commands, ElementsAre(Hidl::StreamCommand::START));
    EXPECT_EQ(clock->unlinkCalls, 1);
}

TEST_F(SensorStreamsTest, PropertiesAreEmptyOfAServiceThatHasNone) {
    const auto properties = sensor.properties();
    EXPECT_EQ(properties.name, "name");
    EXPECT_EQ(properties.vendor, "vendor");
    EXPECT_EQ(properties.serialNumber, "serial");
    light->hasProperties = false;
    EXPECT_EQ(sensor.properties().name + sensor.properties().serialNumber, "");
}

TEST_F(SensorStreamsTest, FactoriesFindNoServiceAndOnlyTheLightSensorsSaysSo) {
    std::string directory = ::testing::TempDir() + "moriak-no-service-XXXXXX";
    ASSERT_NE(mkdtemp(directory.data()), nullptr);
    ASSERT_EQ(setenv("MORIAK_HIDL_RUNTIME_DIR", directory.c_str(), 1), 0);
    CapturedLog log;
    EXPECT_EQ(Vek::Sensors::createExternalTimingProvider(), nullptr);
    EXPECT_EQ(Vek::Sensors::createFaceEyeTrackingLed(), nullptr);
    EXPECT_EQ(Vek::Sensors::createTambStream(), nullptr);
    EXPECT_NE(Vek::Sensors::createFlickerSensor(light), nullptr);
    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_EQ(Vek::Sensors::createFlickerSensor(nullptr), nullptr);
    EXPECT_THAT(log.take(), ElementsAre(errorLine("IFlickerSensor HAL service not running")));
}

TEST_F(SensorStreamsDeathTest, RefusedCommandsAreFatalWithTheirOwnWords) {
    // A number that has no name is printed as it is.
    light->result = static_cast<Hidl::Result>(3);
    clock->result = Hidl::Result::BAD_STATE;
    TestSupport::expectFatalRefusals({
        {[&] { sensor.flickerStart(); }, "Start flicker data stream command failed with result: 3"},
        {[&] { sensor.flickerStop(); }, "Stop flicker stream command failed with result: 3"},
        {[&] { sensor.adcFlickerStart(); },
         "Start ADC flicker data stream command failed with result: 3"},
        {[&] { sensor.adcFlickerStop(); }, "Stop ADC flicker stream command failed with result: 3"},
        {[&] { sensor.ambientLightStart(); },
         "Start ambient light data stream command failed with result: 3"},
        {[&] { sensor.ambientLightStop(); },
         "Stop ambient light stream command failed with result: 3"},
        {[&] { timing.startExternalTimestampDataStream(); },
         "Start external timestamp data stream command failed with result: 2"},
        {[&] { timing.stopExternalTimestampDataStream(); },
         "Stop external timestamp data stream command failed with result: 2"},
    });
}

TEST_F(SensorStreamsDeathTest, FailedTransportIsFatalWithTheSignature) {
    light->transportFails = clock->transportFails = true;
    TestSupport::expectFatalTransport(
        "FlickerSensorProvider",
        {{[&] { sensor.flickerStart(); }, "void flickerStart()"},
         {[&] { sensor.flickerStop(); }, "void flickerStop()"},
         {[&] { sensor.adcFlickerStart(); }, "void adcFlickerStart()"},
         {[&] { sensor.adcFlickerStop(); }, "void adcFlickerStop()"},
         {[&] { sensor.ambientLightStart(); }, "void ambientLightStart()"},
         {[&] { sensor.ambientLightStop(); }, "void ambientLightStop()"},
         {[&] { sensor.properties(); }, "Vek::Sensors::FlickerSensorProperties properties()"}});
    TestSupport::expectFatalTransport("ExternalTimingProvider",
                                      {{[&] { timing.startExternalTimestampDataStream(); },
                                        "void startExternalTimestampDataStream()"},
                                       {[&] { timing.stopExternalTimestampDataStream(); },
                                        "void stopExternalTimestampDataStream()"}});
}

}  // namespace
