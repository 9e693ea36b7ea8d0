// The light sensor's HAL interface: three streams of one device.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

#include "service.h"
#include "stream_clients.h"

namespace Simulator {

/// The clients of the light sensor's streams; null for a stream that does not exist.
struct FlickerStreams {
    android::sp<StreamClients<Hidl::FlickerData>> flicker;
    android::sp<StreamClients<Hidl::AdcFlickerData>> adcFlicker;
    android::sp<StreamClients<Hidl::AmbientLightData>> ambientLight;
};

/// Refuses streams that do not exist.
class FlickerService : public Service<Hidl::IFlickerSensor> {
  public:
    FlickerService(FlickerStreams streams, Hidl::FlickerSensorProperties properties);

    Return<void> getProperties(getProperties_cb callback) override;
    Return<Hidl::Result> prepareFlickerStream(const ClientQueue<Hidl::FlickerData>& queue,
                                              const ClientIdentity& client,
                                              const Hidl::FmqConfig& config) override;
    Return<Hidl::Result> prepareAdcFlickerStream(const ClientQueue<Hidl::AdcFlickerData>& queue,
                                                 const ClientIdentity& client,
                                                 const Hidl::FmqConfig& config) override;
    Return<Hidl::Result> prepareAmbientLightStream(const ClientQueue<Hidl::AmbientLightData>& queue,
                                                   const ClientIdentity& client,
                                                   const Hidl::FmqConfig& config) override;
    Return<Hidl::Result> controlFlickerStream(const ClientIdentity& client,
                                              Hidl::StreamCommand command) override;
    Return<Hidl::Result> controlAdcFlickerStream(const ClientIdentity& client,
                                                 Hidl::StreamCommand command) override;
    Return<Hidl::Result> controlAmbientLightStream(const ClientIdentity& client,
                                                   Hidl::StreamCommand command) override;

  private:
    const FlickerStreams streams_;
    const Hidl::FlickerSensorProperties properties_;
};

}  // namespace Simulator
