// The motion sensors' HAL interfaces.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IIad.h>
#include <vendor/zelvan/hardware/sensors/1.0/IImu.h>
#include <vendor/zelvan/hardware/sensors/1.0/IMag.h>

#include <optional>
#include <utility>

#include "stream_service.h"

namespace Simulator {

/// What a sensor can be configured to do.
struct SensorCapabilities {
    SamplingPlan defaultPlan;
    uint32_t maxSampleRate;  // in Hz
};

/// None if the sensor cannot do it. A batch may take a second and 256 samples at most.
std::optional<SamplingPlan> planFor(const Hal::MotionStreamProperties& properties,
                                    const SensorCapabilities& capabilities);

/// What the motion sensors have besides.
template <typename Interface, typename Record>
class MotionSensorService : public StreamService<Interface, Record> {
  public:
    using typename StreamService<Interface, Record>::Server;

    MotionSensorService(android::sp<Server> server, Hal::MotionSensorProperties properties,
                        SensorCapabilities capabilities)
        : StreamService<Interface, Record>(std::move(server)),
          properties_(std::move(properties)),
          capabilities_(capabilities) {}

    Return<void> getProperties(typename Interface::getProperties_cb callback) override {
        callback(Hal::Result::SUCCESS, properties_);
        return Void();
    }

    Return<Hal::Result> configureStream(const Hal::MotionStreamProperties& properties) override {
        const std::optional<SamplingPlan> plan = planFor(properties, capabilities_);
        if (!plan) {
            ALOGW("%s: refused %u Hz, %u samples a batch", this->server().name().c_str(),
                  properties.sampleRate, properties.batchSize);
            return Hal::Result::FAILURE;
        }
        this->server().configure(*plan);
        return Hal::Result::SUCCESS;
    }

  private:
    const Hal::MotionSensorProperties properties_;
    const SensorCapabilities capabilities_;
};

using ImuService = MotionSensorService<Hal::IImu, Hal::ImuData>;
using MagService = MotionSensorService<Hal::IMag, Hal::MagData>;
using IadService = StreamService<Hal::IIad, Hal::IadData>;

}  // namespace Simulator
