// See flicker_service.h.
#include "environment/flicker_service.h"

#include "environment/light_models.h"

namespace Simulator {
namespace {

constexpr SamplingPlan kBlockPlan{kBlockRate, 1};
constexpr SamplingPlan kAmbientLightPlan{10, 1};

}  // namespace

FlickerService::FlickerService(const std::shared_ptr<const RoomLight>& room,
                               const std::shared_ptr<Faults>& faults,
                               const std::shared_ptr<WorldClock>& clock)
    : flicker_(new StreamServer<Hal::FlickerData>("flicker sensor", kBlockPlan,
                                                  samplesOf(FlickerModel(room)), faults, clock)),
      adcFlicker_(new StreamServer<Hal::AdcFlickerData>(
          "flicker sensor's ADC", kBlockPlan, samplesOf(AdcFlickerModel(room)), faults, clock)),
      ambientLight_(new StreamServer<Hal::AmbientLightData>(
          "ambient-light sensor", kAmbientLightPlan, samplesOf(AmbientLightModel(room)), faults,
          clock)) {}

Return<void> FlickerService::getProperties(getProperties_cb callback) {
    callback({"flicker sensor", "Zelvan", "SIM-0100"});
    return Void();
}

Return<Hal::Result> FlickerService::prepareFlickerStream(const ClientQueue<Hal::FlickerData>& queue,
                                                         const ClientIdentity& client,
                                                         const Hal::FmqConfig& config) {
    return flicker_->prepare(queue, client, config);
}

Return<Hal::Result> FlickerService::prepareAdcFlickerStream(
    const ClientQueue<Hal::AdcFlickerData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return adcFlicker_->prepare(queue, client, config);
}

Return<Hal::Result> FlickerService::prepareAmbientLightStream(
    const ClientQueue<Hal::AmbientLightData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return ambientLight_->prepare(queue, client, config);
}

Return<Hal::Result> FlickerService::controlFlickerStream(const ClientIdentity& client,
                                                         Hal::StreamCommand command) {
    return flicker_->control(client, command);
}

Return<Hal::Result> FlickerService::controlAdcFlickerStream(const ClientIdentity& client,
                                                            Hal::StreamCommand command) {
    return adcFlicker_->control(client, command);
}

Return<Hal::Result> FlickerService::controlAmbientLightStream(const ClientIdentity& client,
                                                              Hal::StreamCommand command) {
    return ambientLight_->control(client, command);
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
