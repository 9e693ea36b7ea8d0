// The light sensor's HAL interface: three streams of one device.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

#include "service.h"
#include "stream_clients.h"

namespace Simulator {

/// The clients of the light sensor's streams; null where there is no such stream.
struct FlickerStreams {
    android::sp<StreamClients<Hal::FlickerData>> flicker;
    android::sp<StreamClients<Hal::AdcFlickerData>> adcFlicker;
    android::sp<StreamClients<Hal::AmbientLightData>> ambientLight;
};

/// Refuses streams that do not exist.
class FlickerService : public Service<Hal::IFlickerSensor> {
  public:
    FlickerService(FlickerStreams streams, Hal::FlickerSensorProperties properties);

    Return<void> getProperties(getProperties_cb callback) override;
    Return<Hal::Result> prepareFlickerStream(const ClientQueue<Hal::FlickerData>& queue,
                                             const ClientIdentity& client,
                                             const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareAdcFlickerStream(const ClientQueue<Hal::AdcFlickerData>& queue,
                                                const ClientIdentity& client,
                                                const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareAmbientLightStream(const ClientQueue<Hal::AmbientLightData>& queue,
                                                  const ClientIdentity& client,
                                                  const Hal::FmqConfig& config) override;
    Return<Hal::Result> controlFlickerStream(const ClientIdentity& client,
                                             Hal::StreamCommand command) override;
    Return<Hal::Result> controlAdcFlickerStream(const ClientIdentity& client,
                                                Hal::StreamCommand command) override;
    Return<Hal::Result> controlAmbientLightStream(const ClientIdentity& client,
                                                  Hal::StreamCommand command) override;

  private:
    const FlickerStreams streams_;
    const Hal::FlickerSensorProperties properties_;
};

}  // namespace Simulator
