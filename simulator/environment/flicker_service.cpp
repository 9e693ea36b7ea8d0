// See flicker_service.h.
#include "environment/flicker_service.h"

#include "environment/light_models.h"

namespace Simulator {
namespace {

constexpr SamplingPlan kBlockPlan{kBlockRate, 1};
constexpr SamplingPlan kAmbientLightPlan{10, 1};

template <typename Record, typename Model>
std::shared_ptr<StreamServer<Record>> makeServer(const char* name, SamplingPlan plan,
                                                 const std::shared_ptr<const RoomLight>& room,
                                                 const std::shared_ptr<Faults>& faults) {
    const auto model = std::make_shared<Model>(room);
    return std::make_shared<StreamServer<Record>>(
        name, plan, [model](const SampleInstant& instant) { return model->sample(instant); },
        faults);
}

}  // namespace

FlickerService::FlickerService(const std::shared_ptr<const RoomLight>& room,
                               const std::shared_ptr<Faults>& faults)
    : faults_(faults),
      flicker_(
          makeServer<Hal::FlickerData, FlickerModel>("flicker sensor", kBlockPlan, room, faults)),
      adcFlicker_(makeServer<Hal::AdcFlickerData, AdcFlickerModel>("flicker sensor's ADC",
                                                                   kBlockPlan, room, faults)),
      ambientLight_(makeServer<Hal::AmbientLightData, AmbientLightModel>(
          "ambient-light sensor", kAmbientLightPlan, room, faults)) {}

FlickerService::Return<void> FlickerService::getProperties(getProperties_cb callback) {
    // The call has no result: all that a sensor can do that fails is to have nothing to tell.
    const bool isKnown = faultOf("getProperties") == Hal::Result::SUCCESS;
    callback(isKnown ? Hal::FlickerSensorProperties{"flicker sensor", "Zelvan", "SIM-0100"}
                     : Hal::FlickerSensorProperties{});
    return android::hardware::Void();
}

FlickerService::Return<Hal::Result> FlickerService::prepareFlickerStream(
    const Queue<Hal::FlickerData>& queue, const Client& client, const Hal::FmqConfig& config) {
    const Hal::Result fault = faultOf("prepareFlickerStream");
    return fault == Hal::Result::SUCCESS ? flicker_->prepare(queue, client, config) : fault;
}

FlickerService::Return<Hal::Result> FlickerService::prepareAdcFlickerStream(
    const Queue<Hal::AdcFlickerData>& queue, const Client& client, const Hal::FmqConfig& config) {
    const Hal::Result fault = faultOf("prepareAdcFlickerStream");
    return fault == Hal::Result::SUCCESS ? adcFlicker_->prepare(queue, client, config) : fault;
}

FlickerService::Return<Hal::Result> FlickerService::prepareAmbientLightStream(
    const Queue<Hal::AmbientLightData>& queue, const Client& client, const Hal::FmqConfig& config) {
    const Hal::Result fault = faultOf("prepareAmbientLightStream");
    return fault == Hal::Result::SUCCESS ? ambientLight_->prepare(queue, client, config) : fault;
}

FlickerService::Return<Hal::Result> FlickerService::controlFlickerStream(
    const Client& client, Hal::StreamCommand command) {
    const Hal::Result fault = faultOf("controlFlickerStream");
    return fault == Hal::Result::SUCCESS ? flicker_->control(client, command) : fault;
}

FlickerService::Return<Hal::Result> FlickerService::controlAdcFlickerStream(
    const Client& client, Hal::StreamCommand command) {
    const Hal::Result fault = faultOf("controlAdcFlickerStream");
    return fault == Hal::Result::SUCCESS ? adcFlicker_->control(client, command) : fault;
}

FlickerService::Return<Hal::Result> FlickerService::controlAmbientLightStream(
    const Client& client, Hal::StreamCommand command) {
    const Hal::Result fault = faultOf("controlAmbientLightStream");
    return fault == Hal::Result::SUCCESS ? ambientLight_->control(client, command) : fault;
}

void FlickerService::stop() {
    flicker_->stop();
    adcFlicker_->stop();
    ambientLight_->stop();
}

std::vector<std::string> FlickerService::summary() const {
    return {summaryOf(*flicker_), summaryOf(*adcFlicker_), summaryOf(*ambientLight_)};
}

}  // namespace Simulator
