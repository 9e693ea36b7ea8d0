// The sensors' HAL interfaces.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IIad.h>
#include <vendor/zelvan/hardware/sensors/1.0/IImu.h>
#include <vendor/zelvan/hardware/sensors/1.0/IMag.h>

#include <memory>
#include <optional>
#include <utility>

#include "faults.h"
#include "hal.h"
#include "stream_server.h"

namespace Simulator {

/// What a sensor can be configured to do.
struct SensorCapabilities {
    SamplingPlan defaultPlan;
    uint32_t maxSampleRate;  // in Hz
};

/// None if the sensor cannot do it. A batch may take a second and 256 samples at most.
std::optional<SamplingPlan> planFor(const Hal::MotionStreamProperties& properties,
                                    const SensorCapabilities& capabilities);

// None of the methods fails in the transport's sense: generated code would end the process.

/// What all sensors have.
template <typename Interface, typename Record>
class SensorService : public Interface {
  public:
    using Server = StreamServer<Record>;

    SensorService(std::shared_ptr<Server> server, std::shared_ptr<const Faults> faults)
        : server_(std::move(server)), faults_(std::move(faults)) {}

    android::hardware::Return<Hal::Result> prepareStream(
        const android::hardware::MQDescriptorSync<Record>& queue,
        const android::sp<Hal::ISensorClient>& client, const Hal::FmqConfig& config) override {
        const Hal::Result fault = faultOf("prepareStream");
        return fault == Hal::Result::SUCCESS ? server_->prepare(queue, client, config) : fault;
    }

    android::hardware::Return<Hal::Result> controlStream(
        const android::sp<Hal::ISensorClient>& client, Hal::StreamCommand command) override {
        const Hal::Result fault = faultOf("controlStream");
        return fault == Hal::Result::SUCCESS ? server_->control(client, command) : fault;
    }

    Server& server() const { return *server_; }

  protected:
    Hal::Result faultOf(const char* method) const {
        return faults_->resultOf(Interface::descriptor, method);
    }

  private:
    const std::shared_ptr<Server> server_;
    const std::shared_ptr<const Faults> faults_;
};

/// What the motion sensors have besides.
template <typename Interface, typename Record>
class MotionSensorService : public SensorService<Interface, Record> {
  public:
    using typename SensorService<Interface, Record>::Server;

    MotionSensorService(std::shared_ptr<Server> server, std::shared_ptr<const Faults> faults,
                        Hal::MotionSensorProperties properties, SensorCapabilities capabilities)
        : SensorService<Interface, Record>(std::move(server), std::move(faults)),
          properties_(std::move(properties)),
          capabilities_(capabilities) {}

    android::hardware::Return<void> getProperties(
        typename Interface::getProperties_cb callback) override {
        callback(this->faultOf("getProperties"), properties_);
        return android::hardware::Void();
    }

    android::hardware::Return<Hal::Result> configureStream(
        const Hal::MotionStreamProperties& properties) override {
        const Hal::Result fault = this->faultOf("configureStream");
        if (fault != Hal::Result::SUCCESS) {
            return fault;
        }
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
using IadService = SensorService<Hal::IIad, Hal::IadData>;

}  // namespace Simulator
