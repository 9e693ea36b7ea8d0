// The light sensor and external timing against services of this process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vek/sensors/factories.h>

#include "environment/external_timing_provider.h"
#include "support/fake_environment_hal.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
namespace Hidl = Vek::Sensors::Hidl;

class SensorStreamsTest : public ::testing::Test {
  protected:
    android::sp<TestSupport::FakeFlickerSensor> light = new TestSupport::FakeFlickerSensor;
    android::sp<TestSupport::FakeExternalTiming> clock = new TestSupport::FakeExternalTiming;
    std::unique_ptr<Vek::Sensors::IFlickerSensorProvider> sensor =
        Vek::Sensors::createFlickerSensor(light);
    Vek::Sensors::HidlWrapper::ExternalTimingProvider timing{
        android::sp<Hidl::IExternalTimingProvider>(clock)};
};
using SensorStreamsDeathTest = SensorStreamsTest;

TEST_F(SensorStreamsTest, CommandsGoToTheirStreamWithItsClientAsOftenAsTheyAreGiven) {
    const auto composite =
        Vek::Sensors::createStreamCompositor()->createCompositeStream("environment");
    sensor->flickerStart();  // before it has a queue: for the service to judge
    sensor->flickerStream().addTo(*composite);
    sensor->flickerStop();
    sensor->adcFlickerStream().addTo(*composite);
    sensor->adcFlickerStart();
    sensor->adcFlickerStop();
    sensor->ambientLightStream().addTo(*composite);
    sensor->ambientLightStart();
    sensor->ambientLightStop();
    sensor->ambientLightStop();
    sensor->ambientLightStart();
    sensor = nullptr;  // stops nothing
    timing.streamExternalTimestampData().addTo(*composite);
    timing.stopExternalTimestampDataStream();
    timing.startExternalTimestampDataStream();
    timing.startExternalTimestampDataStream();

    ASSERT_EQ(light->calls.size(), 11U);
    const auto flicker = std::get<1>(light->calls[0]);
    const auto adcFlicker = std::get<1>(light->calls[3]);
    const auto ambientLight = std::get<1>(light->calls[6]);
    EXPECT_TRUE(flicker != adcFlicker && adcFlicker != ambientLight && ambientLight != flicker);
    EXPECT_THAT(light->calls, ElementsAre(std::tuple("START flicker", flicker),
                                          std::tuple("prepare flicker", flicker),
                                          std::tuple("STOP flicker", flicker),
                                          std::tuple("prepare ADC flicker", adcFlicker),
                                          std::tuple("START ADC flicker", adcFlicker),
                                          std::tuple("STOP ADC flicker", adcFlicker),
                                          std::tuple("prepare ambient light", ambientLight),
                                          std::tuple("START ambient light", ambientLight),
                                          std::tuple("STOP ambient light", ambientLight),
                                          std::tuple("STOP ambient light", ambientLight),
                                          std::tuple("START ambient light", ambientLight)));
    EXPECT_EQ(light->unlinkCalls, 1);
    using Command = Hidl::StreamCommand;
    EXPECT_THAT(clock->commands, ElementsAre(Command::STOP, Command::START, Command::START));
    EXPECT_EQ(clock->controlClient, clock->end.client);
}

TEST_F(SensorStreamsTest, PropertiesAreEmptyOfAServiceThatHasNone) {
    const auto properties = sensor->properties();
    EXPECT_EQ(properties.name, "name");
    EXPECT_EQ(properties.vendor, "vendor");
    EXPECT_EQ(properties.serialNumber, "serial");
    light->hasProperties = false;
    EXPECT_THAT(sensor->properties().name, IsEmpty());
}

TEST_F(SensorStreamsDeathTest, FailedCallsAreFatalWithTheirOwnWordsAndSignatures) {
    const std::string flicker = "void Vek::Sensors::HidlWrapper::FlickerSensorProvider::";
    const std::string external = "void Vek::Sensors::HidlWrapper::ExternalTimingProvider::";
    struct {
        std::function<void()> call;
        std::string signature;
        std::string words;
    } const rows[] = {
        {[&] { sensor->flickerStart(); }, flicker + "flickerStart()", "Start flicker data stream"},
        {[&] { sensor->flickerStop(); }, flicker + "flickerStop()", "Stop flicker stream"},
        {[&] { sensor->adcFlickerStart(); }, flicker + "adcFlickerStart()",
         "Start ADC flicker data stream"},
        {[&] { sensor->adcFlickerStop(); }, flicker + "adcFlickerStop()",
         "Stop ADC flicker stream"},
        {[&] { sensor->ambientLightStart(); }, flicker + "ambientLightStart()",
         "Start ambient light data stream"},
        {[&] { sensor->ambientLightStop(); }, flicker + "ambientLightStop()",
         "Stop ambient light stream"},
        {[&] { timing.startExternalTimestampDataStream(); },
         external + "startExternalTimestampDataStream()", "Start external timestamp data stream"},
        {[&] { timing.stopExternalTimestampDataStream(); },
         external + "stopExternalTimestampDataStream()", "Stop external timestamp data stream"},
    };
    for (const auto& row : rows) {
        light->transportFails = clock->transportFails = false;
        // A number that has no name is printed as it is.
        light->result = clock->result = static_cast<Hidl::Result>(3);
        EXPECT_DEATH(row.call(), HasSubstr("Assertion failed: hidlReturn != "
                                           "Hidl::Result::SUCCESS\nF/Moriak-HidlWrapper: " +
                                           row.words + " command failed with result: 3\n"));
        light->transportFails = clock->transportFails = true;
        EXPECT_DEATH(row.call(), AllOf(HasSubstr("HIDL error in virtual " + row.signature + ": "),
                                       HasSubstr("DEAD_OBJECT")));
    }
    EXPECT_DEATH(sensor->properties(),
                 HasSubstr("HIDL error in virtual Vek::Sensors::FlickerSensorProperties "
                           "Vek::Sensors::HidlWrapper::FlickerSensorProvider::properties(): "));
}

}  // namespace
