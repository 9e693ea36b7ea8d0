// Forwards each call to its stream.
#include "environment/flicker_service.h"

#include <utility>

namespace Simulator {
namespace {

template <typename Record>
Hidl::Result prepare(const android::sp<StreamClients<Record>>& clients,
                     const ClientQueue<Record>& queue, const ClientIdentity& client,
                     const Hidl::FmqConfig& config) {
    return clients == nullptr ? Hidl::Result::FAILURE : clients->prepare(queue, client, config);
}

template <typename Record>
Hidl::Result control(const android::sp<StreamClients<Record>>& clients,
                     const ClientIdentity& client, Hidl::StreamCommand command) {
    return clients == nullptr ? Hidl::Result::BAD_STATE : clients->control(client, command);
}

}  // namespace

FlickerService::FlickerService(FlickerStreams streams, Hidl::FlickerSensorProperties properties)
    : streams_(std::move(streams)), properties_(std::move(properties)) {}

Return<void> FlickerService::getProperties(getProperties_cb callback) {
    callback(properties_);
    return Void();
}

Return<Hidl::Result> FlickerService::prepareFlickerStream(
    const ClientQueue<Hidl::FlickerData>& queue, const ClientIdentity& client,
    const Hidl::FmqConfig& config) {
    return prepare(streams_.flicker, queue, client, config);
}

Return<Hidl::Result> FlickerService::prepareAdcFlickerStream(
    const ClientQueue<Hidl::AdcFlickerData>& queue, const ClientIdentity& client,
    const Hidl::FmqConfig& config) {
    return prepare(streams_.adcFlicker, queue, client, config);
}

Return<Hidl::Result> FlickerService::prepareAmbientLightStream(
    const ClientQueue<Hidl::AmbientLightData>& queue, const ClientIdentity& client,
    const Hidl::FmqConfig& config) {
    return prepare(streams_.ambientLight, queue, client, config);
}

Return<Hidl::Result> FlickerService::controlFlickerStream(const ClientIdentity& client,
                                                          Hidl::StreamCommand command) {
    return control(streams_.flicker, client, command);
}

Return<Hidl::Result> FlickerService::controlAdcFlickerStream(const ClientIdentity& client,
                                                             Hidl::StreamCommand command) {
    return control(streams_.adcFlicker, client, command);
}

Return<Hidl::Result> FlickerService::controlAmbientLightStream(const ClientIdentity& client,
                                                               Hidl::StreamCommand command) {
    return control(streams_.ambientLight, client, command);
}

}  // namespace Simulator
