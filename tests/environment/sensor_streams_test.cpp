// The light sensor and external timing against services of this process.
#include <vek/sensors/factories.h>

#include "environment/external_timing_provider.h"
#include "support/fake_environment_hal.h"
#include "support/fatal_calls.h"

namespace {

using namespace ::testing;
using namespace TestSupport;
using namespace Vek::Sensors::HidlWrapper;

class SensorStreamsTest : public Test {
  protected:
    sp<FakeFlickerSensor> light = new FakeFlickerSensor;
    sp<FakeExternalTiming> clock = new FakeExternalTiming;
    std::unique_ptr<Vek::Sensors::IFlickerSensorProvider> sensor =
        Vek::Sensors::createFlickerSensor(light);
    ExternalTimingProvider timing{sp<Hidl::IExternalTimingProvider>(clock)};
};
using SensorStreamsDeathTest = SensorStreamsTest;

TEST_F(SensorStreamsTest, CommandsGoToTheirStreamWithItsClientAsOftenAsTheyAreGiven) {
    CompositeStream composite{"environment"};
    sensor->flickerStart();  // before it has a queue: for the service to judge
    sensor->flickerStream().addTo(composite);
    sensor->flickerStop();
    sensor->adcFlickerStream().addTo(composite);
    sensor->adcFlickerStart();
    sensor->adcFlickerStop();
    sensor->ambientLightStream().addTo(composite);
    sensor->ambientLightStop();
    sensor->ambientLightStart();
    sensor->ambientLightStart();
    sensor = nullptr;  // stops nothing
    EXPECT_THAT(
        light->calls,
        ElementsAre("controlFlickerStream false START", "controlFlickerStream true STOP",
                    "controlAdcFlickerStream true START", "controlAdcFlickerStream true STOP",
                    "controlAmbientLightStream true STOP", "controlAmbientLightStream true START",
                    "controlAmbientLightStream true START"));
    EXPECT_TRUE(light->flicker.client != light->adcFlicker.client &&
                light->adcFlicker.client != light->ambientLight.client &&
                light->ambientLight.client != light->flicker.client);
    EXPECT_EQ(light->unlinkCalls, 1);
    timing.streamExternalTimestampData().addTo(composite);
    timing.stopExternalTimestampDataStream();
    timing.startExternalTimestampDataStream();
    EXPECT_THAT(clock->calls, ElementsAre("controlStream true STOP", "controlStream true START"));
}

TEST_F(SensorStreamsTest, PropertiesAreEmptyOfAServiceThatHasNone) {
    EXPECT_THAT(sensor->properties(), FieldsAre("name", "vendor", "serial"));
    light->callsBack = false;
    EXPECT_THAT(sensor->properties().name, IsEmpty());
}

TEST_F(SensorStreamsDeathTest, FailedCallsAreFatalWithTheirOwnWordsAndSignatures) {
    const std::string failed = " command failed with result: 4";
    expectFatal(
        *light, "FlickerSensorProvider::",
        {{"void ", "flickerStart()", [&] { sensor->flickerStart(); },
          "Start flicker data stream" + failed},
         {"void ", "flickerStop()", [&] { sensor->flickerStop(); }, "Stop flicker stream" + failed},
         {"void ", "adcFlickerStart()", [&] { sensor->adcFlickerStart(); },
          "Start ADC flicker data stream" + failed},
         {"void ", "adcFlickerStop()", [&] { sensor->adcFlickerStop(); },
          "Stop ADC flicker stream" + failed},
         {"void ", "ambientLightStart()", [&] { sensor->ambientLightStart(); },
          "Start ambient light data stream" + failed},
         {"void ", "ambientLightStop()", [&] { sensor->ambientLightStop(); },
          "Stop ambient light stream" + failed},
         {"Vek::Sensors::FlickerSensorProperties ", "properties()",
          [&] { sensor->properties(); }}});
    expectFatal(*clock, "ExternalTimingProvider::",
                {{"void ", "startExternalTimestampDataStream()",
                  [&] { timing.startExternalTimestampDataStream(); },
                  "Start external timestamp data stream" + failed},
                 {"void ", "stopExternalTimestampDataStream()",
                  [&] { timing.stopExternalTimestampDataStream(); },
                  "Stop external timestamp data stream" + failed}});
}

}  // namespace
