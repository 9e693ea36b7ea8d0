// Opens the streams of the light sensor and of external clocks through the public factories.
#include "stream_kinds.h"

#include <vek/sensors/factories.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "environment/environment_fields.h"
#include "environment/light_sensor.h"
#include "failure.h"

using namespace Vek::Sensors;

namespace {

// Room for seconds of records: printing to a slow terminal must not drop any.
constexpr size_t kQueueSize = 64;

using Streams = std::vector<std::unique_ptr<SensorStream>>;

/// One of the three streams of the light sensor.
template <typename Data>
struct LightStream {
    const char* name;
    IDataStream<Data>& (IFlickerSensorProvider::*stream)();
    void (IFlickerSensorProvider::*start)();
    void (IFlickerSensorProvider::*stop)();

    Streams operator()(const SessionOptions& /*options*/) const {
        const std::shared_ptr<IFlickerSensorProvider> sensor =
            requireService(findLightSensor(), "IFlickerSensor");
        Streams streams;
        streams.push_back(std::make_unique<TypedSensorStream<Data>>(
            name, (*sensor.*stream)(),
            StreamControl{[sensor, call = start] { (*sensor.*call)(); },
                          [sensor, call = stop] { (*sensor.*call)(); }},
            kQueueSize, [](const Data& record) { return originOf(record); }));
        return streams;
    }
};

constexpr LightStream<FlickerData> kFlicker{"flicker", &IFlickerSensorProvider::flickerStream,
                                            &IFlickerSensorProvider::flickerStart,
                                            &IFlickerSensorProvider::flickerStop};
constexpr LightStream<AdcFlickerData> kAdcFlicker{
    "adc-flicker", &IFlickerSensorProvider::adcFlickerStream,
    &IFlickerSensorProvider::adcFlickerStart, &IFlickerSensorProvider::adcFlickerStop};
constexpr LightStream<AmbientLightData> kAmbientLight{
    "ambient-light", &IFlickerSensorProvider::ambientLightStream,
    &IFlickerSensorProvider::ambientLightStart, &IFlickerSensorProvider::ambientLightStop};

Streams openExternalTiming(const SessionOptions& /*options*/) {
    const std::shared_ptr<IExternalTimingProvider> timing =
        requireService(createExternalTimingProvider(), "IExternalTimingProvider");
    Streams streams;
    streams.push_back(std::make_unique<TypedSensorStream<ExternalTimestampData>>(
        "external-timing", timing->streamExternalTimestampData(),
        StreamControl{[timing] { timing->startExternalTimestampDataStream(); },
                      [timing] { timing->stopExternalTimestampDataStream(); }},
        kQueueSize, [](const ExternalTimestampData& pulse) { return originOf(pulse); }));
    return streams;
}

}  // namespace

void addEnvironmentStreams(std::vector<StreamKind>& kinds) {
    kinds.push_back({kFlicker.name, kFlicker});
    kinds.push_back({kAdcFlicker.name, kAdcFlicker});
    kinds.push_back({kAmbientLight.name, kAmbientLight});
    kinds.push_back({"external-timing", openExternalTiming});
}
