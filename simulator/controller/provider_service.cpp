// See provider_service.h.
#include "controller/provider_service.h"

#include <hwbinder/IPCThreadState.h>
#include <log/log.h>

#include <utility>

#include "controller/streaming_client.h"

namespace Simulator {

using android::hardware::Return;
using android::hardware::Void;

ControllerProviderService::ControllerProviderService(std::shared_ptr<ControllerFleet> fleet,
                                                     std::shared_ptr<const Faults> faults)
    : fleet_(std::move(fleet)),
      faults_(std::move(faults)),
      management_(new ManagementClient(fleet_, faults_)) {}

bool ControllerProviderService::isFaulty(const char* method) const {
    return faults_->resultOf(descriptor, method) != Hal::Result::SUCCESS;
}

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
    return !isFaulty("allowDevice") && fleet_->allow(device);
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
    const int process = android::hardware::IPCThreadState::self()->getCallingPid();
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
                                               const Queue<Record>& queue, const Client& client,
                                               const Hal::FmqConfig& config) {
    const Hal::Result fault = faults_->resultOf(descriptor, method);
    if (fault != Hal::Result::SUCCESS) {
        return fault;
    }
    const Hal::Result result = stream.prepare(queue, client, config);
    return result == Hal::Result::SUCCESS ? stream.control(client, Hal::StreamCommand::START)
                                          : result;
}

Return<Hal::Result> ControllerProviderService::prepareStateChangeStream(
    const Queue<Hal::PairedControllerInfo>& queue, const Client& client,
    const Hal::FmqConfig& config) {
    return prepare("prepareStateChangeStream", *fleet_->streams().stateChanges, queue, client,
                   config);
}

Return<Hal::Result> ControllerProviderService::prepareCurlStream(const Queue<Hal::CurlData>& queue,
                                                                 const Client& client,
                                                                 const Hal::FmqConfig& config) {
    return prepare("prepareCurlStream", *fleet_->streams().curl, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareImuStream(
    const Queue<Hal::ControllerImuData>& queue, const Client& client,
    const Hal::FmqConfig& config) {
    return prepare("prepareImuStream", *fleet_->streams().imu, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareButtonStream(
    const Queue<Hal::ButtonData>& queue, const Client& client, const Hal::FmqConfig& config) {
    return prepare("prepareButtonStream", *fleet_->streams().buttons, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::preparePrecisionPadStream(
    const Queue<Hal::PrecisionPadData>& queue, const Client& client, const Hal::FmqConfig& config) {
    return prepare("preparePrecisionPadStream", *fleet_->streams().precisionPad, queue, client,
                   config);
}

Return<Hal::Result> ControllerProviderService::prepareMultiTouchStream(
    const Queue<Hal::MultiTouchData>& queue, const Client& client, const Hal::FmqConfig& config) {
    return prepare("prepareMultiTouchStream", *fleet_->streams().multiTouch, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareStylusStream(
    const Queue<Hal::StylusData>& queue, const Client& client, const Hal::FmqConfig& config) {
    return prepare("prepareStylusStream", *fleet_->streams().stylus, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareWirelessDeviceStatsStream(
    const Queue<Hal::WirelessDeviceStats>& queue, const Client& client,
    const Hal::FmqConfig& config) {
    return prepare("prepareWirelessDeviceStatsStream", *fleet_->streams().wirelessStats, queue,
                   client, config);
}

Return<Hal::Result> ControllerProviderService::preparePoseInputStream(
    const Queue<Hal::PoseInput>& queue, const Client& client, const Hal::FmqConfig& config) {
    return prepare("preparePoseInputStream", *fleet_->streams().poses, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareInputADCStream(
    const Queue<Hal::ControllerInputADCData>& queue, const Client& client,
    const Hal::FmqConfig& config) {
    return prepare("prepareInputADCStream", *fleet_->streams().adc, queue, client, config);
}

Return<Hal::Result> ControllerProviderService::prepareCollisionEventStream(
    const Queue<Hal::ControllerCollisionEvent>& queue, const Client& client,
    const Hal::FmqConfig& config) {
    return prepare("prepareCollisionEventStream", *fleet_->streams().collisions, queue, client,
                   config);
}

}  // namespace Simulator
