// The motion sensors' HAL interfaces.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IIad.h>
#include <vendor/zelvan/hardware/sensors/1.0/IImu.h>
#include <vendor/zelvan/hardware/sensors/1.0/IMag.h>

#include <cstdint>
#include <optional>
#include <utility>

#include "stream_service.h"

namespace Simulator {

/// Limits of a sensor's configuration.
struct SensorCapabilities {
    SamplingPlan defaultPlan;
    uint32_t maxSampleRate;  // in Hz
};

/// The plan for the requested properties; empty if the sensor does not support them. A batch may
/// have at most 256 samples and last at most a second.
std::optional<SamplingPlan> planFor(const Hidl::MotionStreamProperties& properties,
                                    const SensorCapabilities& capabilities);

/// Common base of the motion sensors' services: a stream that can be configured.
template <typename Interface, typename Record>
class MotionSensorService : public StreamService<Interface, Record> {
  public:
    using typename StreamService<Interface, Record>::Server;

    MotionSensorService(android::sp<Server> server, Hidl::MotionSensorProperties properties,
                        SensorCapabilities capabilities)
        : StreamService<Interface, Record>(std::move(server)),
          properties_(std::move(properties)),
          capabilities_(capabilities) {}

    Return<void> getProperties(typename Interface::getProperties_cb callback) override {
        callback(Hidl::Result::SUCCESS, properties_);
        return Void();
    }

    Return<Hidl::Result> configureStream(const Hidl::MotionStreamProperties& properties) override {
        const std::optional<SamplingPlan> plan = planFor(properties, capabilities_);
        if (!plan) {
            ALOGW("%s: refused %u Hz, %u samples a batch", this->server().name().c_str(),
                  properties.sampleRate, properties.batchSize);
            return Hidl::Result::FAILURE;
        }
        this->server().configure(*plan);
        return Hidl::Result::SUCCESS;
    }

  private:
    const Hidl::MotionSensorProperties properties_;
    const SensorCapabilities capabilities_;
};

using ImuService = MotionSensorService<Hidl::IImu, Hidl::ImuData>;
using MagService = MotionSensorService<Hidl::IMag, Hidl::MagData>;
using IadService = StreamService<Hidl::IIad, Hidl::IadData>;

}  // namespace Simulator
