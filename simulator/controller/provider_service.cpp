#include "controller/provider_service.h"

#include <log/log.h>

#include <cstdint>
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
    const Hidl::ControllerWirelessFreqBlocklist& blocklist) {
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
    Hidl::SecureHostInfo info{};
    info.hostId = 0x5A;
    for (size_t i = 0; i < 16; ++i) {
        info.key[i] = static_cast<uint8_t>(0xA0 + i);
    }
    callback(info);
    return Void();
}

Return<bool> ControllerProviderService::allowDevice(const Hidl::SecureDeviceInfo& device) {
    if (device.address.address == 0) {
        return false;
    }
    // Succeeds even if the device is connected already or unknown.
    static_cast<void>(fleet_->pair(device.address));
    return true;
}

Return<android::sp<Hidl::IControllerManagementClient>>
ControllerProviderService::getManagementClient() {
    return android::sp<Hidl::IControllerManagementClient>(management_);
}

Return<android::sp<Hidl::IControllerStreamingClient>>
ControllerProviderService::getStreamingClient() {
    const int process = callingProcess();
    const auto listener = std::make_shared<StreamingListener>(StreamingListener{process, {}, {}});
    if (!fleet_->add(listener)) {
        ALOGW("controllers: no streaming client for process %d", process);
        return nullptr;
    }
    return android::sp<Hidl::IControllerStreamingClient>(
        makeService<StreamingClient>(faults_, listener, fleet_));
}

template <typename Record>
Hidl::Result ControllerProviderService::prepare(StreamClients<Record>& stream,
                                                const ClientQueue<Record>& queue,
                                                const ClientIdentity& client,
                                                const Hidl::FmqConfig& config) {
    const Hidl::Result result = stream.prepare(queue, client, config);
    return result == Hidl::Result::SUCCESS ? stream.control(client, Hidl::StreamCommand::START)
                                           : result;
}

Return<Hidl::Result> ControllerProviderService::prepareStateChangeStream(
    const ClientQueue<Hidl::PairedControllerInfo>& queue, const ClientIdentity& client,
    const Hidl::FmqConfig& config) {
    return prepare(*fleet_->streams().stateChanges, queue, client, config);
}

Return<Hidl::Result> ControllerProviderService::prepareCurlStream(
    const ClientQueue<Hidl::CurlData>& queue, const ClientIdentity& client,
    const Hidl::FmqConfig& config) {
    return prepare(*fleet_->streams().curl, queue, client, config);
}

Return<Hidl::Result> ControllerProviderService::prepareImuStream(
    const ClientQueue<Hidl::ControllerImuData>& queue, const ClientIdentity& client,
    const Hidl::FmqConfig& config) {
    return prepare(*fleet_->streams().imu, queue, client, config);
}

Return<Hidl::Result> ControllerProviderService::prepareButtonStream(
    const ClientQueue<Hidl::ButtonData>& queue, const ClientIdentity& client,
    const Hidl::FmqConfig& config) {
    return prepare(*fleet_->streams().buttons, queue, client, config);
}

Return<Hidl::Result> ControllerProviderService::preparePrecisionPadStream(
    const ClientQueue<Hidl::PrecisionPadData>& queue, const ClientIdentity& client,
    const Hidl::FmqConfig& config) {
    return prepare(*fleet_->streams().precisionPad, queue, client, config);
}

Return<Hidl::Result> ControllerProviderService::prepareMultiTouchStream(
    const ClientQueue<Hidl::MultiTouchData>& queue, const ClientIdentity& client,
    const Hidl::FmqConfig& config) {
    return prepare(*fleet_->streams().multiTouch, queue, client, config);
}

Return<Hidl::Result> ControllerProviderService::prepareStylusStream(
    const ClientQueue<Hidl::StylusData>& queue, const ClientIdentity& client,
    const Hidl::FmqConfig& config) {
    return prepare(*fleet_->streams().stylus, queue, client, config);
}

Return<Hidl::Result> ControllerProviderService::prepareWirelessDeviceStatsStream(
    const ClientQueue<Hidl::WirelessDeviceStats>& queue, const ClientIdentity& client,
    const Hidl::FmqConfig& config) {
    return prepare(*fleet_->streams().wirelessStats, queue, client, config);
}

Return<Hidl::Result> ControllerProviderService::preparePoseInputStream(
    const ClientQueue<Hidl::PoseInput>& queue, const ClientIdentity& client,
    const Hidl::FmqConfig& config) {
    return prepare(*fleet_->streams().poses, queue, client, config);
}

Return<Hidl::Result> ControllerProviderService::prepareInputADCStream(
    const ClientQueue<Hidl::ControllerInputADCData>& queue, const ClientIdentity& client,
    const Hidl::FmqConfig& config) {
    return prepare(*fleet_->streams().adc, queue, client, config);
}

Return<Hidl::Result> ControllerProviderService::prepareCollisionEventStream(
    const ClientQueue<Hidl::ControllerCollisionEvent>& queue, const ClientIdentity& client,
    const Hidl::FmqConfig& config) {
    return prepare(*fleet_->streams().collisions, queue, client, config);
}

}  // namespace Simulator
