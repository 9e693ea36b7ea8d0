// Each call goes to the stream that it is for.
#include "environment/flicker_service.h"

#include <utility>

namespace Simulator {
namespace {

template <typename Record>
Hal::Result prepare(const android::sp<StreamClients<Record>>& clients,
                    const ClientQueue<Record>& queue, const ClientIdentity& client,
                    const Hal::FmqConfig& config) {
    return clients == nullptr ? Hal::Result::FAILURE : clients->prepare(queue, client, config);
}

template <typename Record>
Hal::Result control(const android::sp<StreamClients<Record>>& clients, const ClientIdentity& client,
                    Hal::StreamCommand command) {
    return clients == nullptr ? Hal::Result::BAD_STATE : clients->control(client, command);
}

}  // namespace

FlickerService::FlickerService(FlickerStreams streams, Hal::FlickerSensorProperties properties)
    : streams_(std::move(streams)), properties_(std::move(properties)) {}

Return<void> FlickerService::getProperties(getProperties_cb callback) {
    callback(properties_);
    return Void();
}

Return<Hal::Result> FlickerService::prepareFlickerStream(const ClientQueue<Hal::FlickerData>& queue,
                                                         const ClientIdentity& client,
                                                         const Hal::FmqConfig& config) {
    return prepare(streams_.flicker, queue, client, config);
}

Return<Hal::Result> FlickerService::prepareAdcFlickerStream(
    const ClientQueue<Hal::AdcFlickerData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare(streams_.adcFlicker, queue, client, config);
}

Return<Hal::Result> FlickerService::prepareAmbientLightStream(
    const ClientQueue<Hal::AmbientLightData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare(streams_.ambientLight, queue, client, config);
}

Return<Hal::Result> FlickerService::controlFlickerStream(const ClientIdentity& client,
                                                         Hal::StreamCommand command) {
    return control(streams_.flicker, client, command);
}

Return<Hal::Result> FlickerService::controlAdcFlickerStream(const ClientIdentity& client,
                                                            Hal::StreamCommand command) {
    return control(streams_.adcFlicker, client, command);
}

Return<Hal::Result> FlickerService::controlAmbientLightStream(const ClientIdentity& client,
                                                              Hal::StreamCommand command) {
    return control(streams_.ambientLight, client, command);
}

}  // namespace Simulator
