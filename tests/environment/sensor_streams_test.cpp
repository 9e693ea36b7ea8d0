// The light sensor and external timing against services of this process.
#include <vek/sensors/factories.h>

#include <memory>
#include <string>

#include "environment/external_timing_provider.h"
#include "support/fake_service.h"
#include "support/fatal_calls.h"

namespace {

using namespace ::testing;
using namespace TestSupport;
using namespace Vek::Sensors::HidlWrapper;

class SensorStreamsTest : public Test {
  protected:
    sp<Fake<Hidl::IFlickerSensor>> light = new Fake<Hidl::IFlickerSensor>;
    sp<Fake<Hidl::IExternalTimingProvider>> clock = new Fake<Hidl::IExternalTimingProvider>;
    std::unique_ptr<Vek::Sensors::IFlickerSensorProvider> sensor =
        Vek::Sensors::createFlickerSensor(light);
    ExternalTimingProvider timing{sp<Hidl::IExternalTimingProvider>(clock)};
};
using SensorStreamsDeathTest = SensorStreamsTest;

TEST_F(SensorStreamsTest, PropertiesAreEmptyIfTheServiceReturnsNone) {
    light->returns<&Hidl::IFlickerSensor::getProperties>(
        Hidl::FlickerSensorProperties{"name", "vendor", "serial"});
    EXPECT_THAT(sensor->properties(), FieldsAre("name", "vendor", "serial"));
    light->callsBack = false;
    EXPECT_THAT(sensor->properties().name, IsEmpty());
}

TEST_F(SensorStreamsDeathTest, FailedCallsAreFatalWithTheirOwnMessagesAndSignatures) {
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
