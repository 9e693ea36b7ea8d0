#include "controller/provider_service.h"

#include <log/log.h>

#include <utility>

#include "controller/streaming_client.h"

namespace Simulator {

ControllerProviderService::ControllerProviderService(std::shared_ptr<ControllerFleet> fleet,
                                                     std::shared_ptr<Faults> faults)
    : faults_(std::move(faults)),
      fleet_(std::move(fleet)),
      management_(makeService<ManagementClient>(faults_, fleet_)) {}

Return<void> ControllerProviderService::getPairedControllers(getPairedControllers_cb callback) {
    callback(fleet_->paired());
    return Void();
}

Return<bool> ControllerProviderService::setWirelessFreqBlocklist(
    const Hal::ControllerWirelessFreqBlocklist& blocklist) {
    return fleet_->setBlocklist(blocklist.channels);
}

Return<void> ControllerProviderService::getWirelessFreqBlocklist(
    getWirelessFreqBlocklist_cb callback) {
    callback({fleet_->blocklist()}, true);
    return Void();
}

Return<bool> ControllerProviderService::clearWirelessFreqBlocklist() {
    return fleet_->setBlocklist(0);
}

Return<void> ControllerProviderService::getHostInfo(getHostInfo_cb callback) {
    Hal::SecureHostInfo info{};
    info.hostId = 0x5A;
    for (size_t i = 0; i < 16; ++i) {
        info.key[i] = static_cast<uint8_t>(0xA0 + i);
    }
    callback(info);
    return Void();
}

Return<bool> ControllerProviderService::allowDevice(const Hal::SecureDeviceInfo& device) {
    if (device.address.address == 0) {
        return false;
    }
    // A device that is connected already, or is not here, has no need of it now.
    static_cast<void>(fleet_->pair(device.address));
    return true;
}

Return<android::sp<Hal::IControllerManagementClient>>
ControllerProviderService::getManagementClient() {
    return android::sp<Hal::IControllerManagementClient>(management_);
}

Return<android::sp<Hal::IControllerStreamingClient>>
ControllerProviderService::getStreamingClient() {
    const int process = callingProcess();
    const auto listener = std::make_shared<StreamingListener>(StreamingListener{process, {}, {}});
    if (!fleet_->add(listener)) {
        ALOGW("controllers: no streaming client for process %d", process);
        return nullptr;
    }
    return android::sp<Hal::IControllerStreamingClient>(
        makeService<StreamingClient>(faults_, listener, fleet_));
}

template <typename Record>
Hal::Result ControllerProviderService::prepare(StreamClients<Record>& stream,
                                               const ClientQueue<Record>& queue,
                                               const ClientIdentity& client,
                                               const Hal::FmqConfig& config) {
    const Hal::Result result = stream.prepare(queue, client, config);
    return result == Hal::Result::SUCCESS ? stream.control(client, Hal::StreamCommand::START)
                                          : result;
}

Return<Hal::Result> ControllerProviderService::prepareStateChangeStream(
    const ClientQueue<Hal::PairedControllerInfo>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare(*fleet_->streams().stateChanges, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareCurlStream(
    const ClientQueue<Hal::CurlData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare(*fleet_->streams().curl, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareImuStream(
    const ClientQueue<Hal::ControllerImuData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare(*fleet_->streams().imu, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareButtonStream(
    const ClientQueue<Hal::ButtonData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare(*fleet_->streams().buttons, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::preparePrecisionPadStream(
    const ClientQueue<Hal::PrecisionPadData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare(*fleet_->streams().precisionPad, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareMultiTouchStream(
    const ClientQueue<Hal::MultiTouchData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare(*fleet_->streams().multiTouch, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareStylusStream(
    const ClientQueue<Hal::StylusData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare(*fleet_->streams().stylus, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareWirelessDeviceStatsStream(
    const ClientQueue<Hal::WirelessDeviceStats>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare(*fleet_->streams().wirelessStats, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::preparePoseInputStream(
    const ClientQueue<Hal::PoseInput>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare(*fleet_->streams().poses, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareInputADCStream(
    const ClientQueue<Hal::ControllerInputADCData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare(*fleet_->streams().adc, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareCollisionEventStream(
    const ClientQueue<Hal::ControllerCollisionEvent>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare(*fleet_->streams().collisions, queue, client, config);
}

}  // namespace Simulator
