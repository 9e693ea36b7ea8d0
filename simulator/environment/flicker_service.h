// The light sensor's HAL interface: three streams of one device.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

#include <memory>
#include <string>
#include <vector>

#include "environment/room_light.h"
#include "service.h"
#include "stream_server.h"

namespace Simulator {

template <>
struct Discontinuity<Hal::FlickerData> : StatusBit<Hal::LightSampleStatus::DISCONTINUITY> {};
template <>
struct Discontinuity<Hal::AdcFlickerData> : StatusBit<Hal::LightSampleStatus::DISCONTINUITY> {};
template <>
struct Discontinuity<Hal::AmbientLightData> : StatusBit<Hal::LightSampleStatus::DISCONTINUITY> {};

class FlickerService : public Service<Hal::IFlickerSensor> {
  public:
    FlickerService(const std::shared_ptr<const RoomLight>& room,
                   const std::shared_ptr<Faults>& faults, const std::shared_ptr<WorldClock>& clock);

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

    /// No more samples, for good.
    void stop();

    /// Lines for the user.
    std::vector<std::string> summary() const;

  private:
    const android::sp<StreamServer<Hal::FlickerData>> flicker_;
    const android::sp<StreamServer<Hal::AdcFlickerData>> adcFlicker_;
    const android::sp<StreamServer<Hal::AmbientLightData>> ambientLight_;
};

}  // namespace Simulator
