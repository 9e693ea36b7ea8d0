// The light sensor's HAL interface: three streams of one device.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

#include <memory>
#include <string>
#include <vector>

#include "environment/room_light.h"
#include "faults.h"
#include "hal.h"
#include "stream_server.h"

namespace Simulator {

/// Of the three records of the light sensor, which have the same status bits.
template <typename Record>
struct LightDiscontinuity {
    static void mark(Record* record) {
        record->status |= static_cast<uint32_t>(Hal::LightSampleStatus::DISCONTINUITY);
    }
};
template <>
struct Discontinuity<Hal::FlickerData> : LightDiscontinuity<Hal::FlickerData> {};
template <>
struct Discontinuity<Hal::AdcFlickerData> : LightDiscontinuity<Hal::AdcFlickerData> {};
template <>
struct Discontinuity<Hal::AmbientLightData> : LightDiscontinuity<Hal::AmbientLightData> {};

class FlickerService : public Hal::IFlickerSensor {
  public:
    template <typename T>
    using Return = android::hardware::Return<T>;
    template <typename Record>
    using Queue = android::hardware::MQDescriptorSync<Record>;
    using Client = android::sp<Hal::ISensorClient>;

    FlickerService(const std::shared_ptr<const RoomLight>& room,
                   const std::shared_ptr<Faults>& faults);

    Return<void> getProperties(getProperties_cb callback) override;
    Return<Hal::Result> prepareFlickerStream(const Queue<Hal::FlickerData>& queue,
                                             const Client& client,
                                             const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareAdcFlickerStream(const Queue<Hal::AdcFlickerData>& queue,
                                                const Client& client,
                                                const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareAmbientLightStream(const Queue<Hal::AmbientLightData>& queue,
                                                  const Client& client,
                                                  const Hal::FmqConfig& config) override;
    Return<Hal::Result> controlFlickerStream(const Client& client,
                                             Hal::StreamCommand command) override;
    Return<Hal::Result> controlAdcFlickerStream(const Client& client,
                                                Hal::StreamCommand command) override;
    Return<Hal::Result> controlAmbientLightStream(const Client& client,
                                                  Hal::StreamCommand command) override;

    /// No more samples, for good.
    void stop();

    /// Lines for the user.
    std::vector<std::string> summary() const;

  private:
    Hal::Result faultOf(const char* method) const { return faults_->resultOf(descriptor, method); }

    const std::shared_ptr<Faults> faults_;
    const std::shared_ptr<StreamServer<Hal::FlickerData>> flicker_;
    const std::shared_ptr<StreamServer<Hal::AdcFlickerData>> adcFlicker_;
    const std::shared_ptr<StreamServer<Hal::AmbientLightData>> ambientLight_;
};

}  // namespace Simulator
