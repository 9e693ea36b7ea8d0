// See provider_service.h.
#include "controller/provider_service.h"

#include <log/log.h>

#include <utility>

#include "controller/streaming_client.h"

namespace Simulator {

ControllerProviderService::ControllerProviderService(std::shared_ptr<ControllerFleet> fleet,
                                                     std::shared_ptr<const Faults> faults)
    : Service(std::move(faults)),
      fleet_(std::move(fleet)),
      management_(new ManagementClient(fleet_, faults_)) {}

Return<void> ControllerProviderService::getPairedControllers(getPairedControllers_cb callback) {
    const bool isFault = isFaulty("getPairedControllers");
    callback(isFault ? std::vector<Hal::PairedControllerInfo>{} : fleet_->paired());
    return Void();
}

Return<bool> ControllerProviderService::setWirelessFreqBlocklist(
    const Hal::ControllerWirelessFreqBlocklist& blocklist) {
    return !isFaulty("setWirelessFreqBlocklist") && fleet_->setBlocklist(blocklist.channels);
}

Return<void> ControllerProviderService::getWirelessFreqBlocklist(
    getWirelessFreqBlocklist_cb callback) {
    callback({fleet_->blocklist()}, !isFaulty("getWirelessFreqBlocklist"));
    return Void();
}

Return<bool> ControllerProviderService::clearWirelessFreqBlocklist() {
    return !isFaulty("clearWirelessFreqBlocklist") && fleet_->setBlocklist(0);
}

Return<void> ControllerProviderService::getHostInfo(getHostInfo_cb callback) {
    Hal::SecureHostInfo info{};
    if (!isFaulty("getHostInfo")) {
        info.hostId = 0x5A;
        for (size_t i = 0; i < 16; ++i) {
            info.key[i] = static_cast<uint8_t>(0xA0 + i);
        }
    }
    callback(info);
    return Void();
}

Return<bool> ControllerProviderService::allowDevice(const Hal::SecureDeviceInfo& device) {
    if (isFaulty("allowDevice") || device.address.address == 0) {
        return false;
    }
    // A device that is connected already, or is not here, has no need of it now.
    static_cast<void>(fleet_->pair(device.address));
    return true;
}

Return<android::sp<Hal::IControllerManagementClient>>
ControllerProviderService::getManagementClient() {
    if (isFaulty("getManagementClient")) {
        return nullptr;
    }
    return android::sp<Hal::IControllerManagementClient>(management_);
}

Return<android::sp<Hal::IControllerStreamingClient>>
ControllerProviderService::getStreamingClient() {
    const int process = callingProcess();
    const auto listener = std::make_shared<StreamingListener>(StreamingListener{process, {}, {}});
    if (isFaulty("getStreamingClient") || !fleet_->add(listener)) {
        ALOGW("controllers: no streaming client for process %d", process);
        return nullptr;
    }
    return android::sp<Hal::IControllerStreamingClient>(
        new StreamingClient(listener, fleet_, faults_));
}

template <typename Record>
Hal::Result ControllerProviderService::prepare(const char* method, StreamClients<Record>& stream,
                                               const ClientQueue<Record>& queue,
                                               const ClientIdentity& client,
                                               const Hal::FmqConfig& config) {
    return unlessFaulty(method, [&] {
        const Hal::Result result = stream.prepare(queue, client, config);
        return result == Hal::Result::SUCCESS ? stream.control(client, Hal::StreamCommand::START)
                                              : result;
    });
}

Return<Hal::Result> ControllerProviderService::prepareStateChangeStream(
    const ClientQueue<Hal::PairedControllerInfo>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare("prepareStateChangeStream", *fleet_->streams().stateChanges, queue, client,
                   config);
}

Return<Hal::Result> ControllerProviderService::prepareCurlStream(
    const ClientQueue<Hal::CurlData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare("prepareCurlStream", *fleet_->streams().curl, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareImuStream(
    const ClientQueue<Hal::ControllerImuData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare("prepareImuStream", *fleet_->streams().imu, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareButtonStream(
    const ClientQueue<Hal::ButtonData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare("prepareButtonStream", *fleet_->streams().buttons, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::preparePrecisionPadStream(
    const ClientQueue<Hal::PrecisionPadData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare("preparePrecisionPadStream", *fleet_->streams().precisionPad, queue, client,
                   config);
}

Return<Hal::Result> ControllerProviderService::prepareMultiTouchStream(
    const ClientQueue<Hal::MultiTouchData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare("prepareMultiTouchStream", *fleet_->streams().multiTouch, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareStylusStream(
    const ClientQueue<Hal::StylusData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare("prepareStylusStream", *fleet_->streams().stylus, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareWirelessDeviceStatsStream(
    const ClientQueue<Hal::WirelessDeviceStats>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare("prepareWirelessDeviceStatsStream", *fleet_->streams().wirelessStats, queue,
                   client, config);
}

Return<Hal::Result> ControllerProviderService::preparePoseInputStream(
    const ClientQueue<Hal::PoseInput>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare("preparePoseInputStream", *fleet_->streams().poses, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareInputADCStream(
    const ClientQueue<Hal::ControllerInputADCData>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare("prepareInputADCStream", *fleet_->streams().adc, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareCollisionEventStream(
    const ClientQueue<Hal::ControllerCollisionEvent>& queue, const ClientIdentity& client,
    const Hal::FmqConfig& config) {
    return prepare("prepareCollisionEventStream", *fleet_->streams().collisions, queue, client,
                   config);
}

}  // namespace Simulator
