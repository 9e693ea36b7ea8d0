#include "controller/state_provider_service.h"

#include <log/log.h>

#include <cstdint>
#include <utility>

namespace Simulator {

using Hidl::Result;

namespace {

/// Address of the owner of the state when it is paired as a device.
constexpr Hidl::ControllerAddr kOwner{0x5A'00'00'00'01'00};
constexpr uint32_t kOwnerDevice = 0x0C;
constexpr size_t kKeySize = 16;

}  // namespace

ControllerStateProviderService::ControllerStateProviderService(
    std::shared_ptr<ControllerFleet> fleet, android::sp<PoseReceiver> poses)
    : fleet_(std::move(fleet)), poses_(std::move(poses)) {}

Return<Result> ControllerStateProviderService::prepareHapticsStateStream(
    const ClientQueue<Hidl::HapticsState>& queue, const ClientIdentity& client,
    const Hidl::FmqConfig& config) {
    return fleet_->streams().haptics->prepare(queue, client, config);
}

Return<Result> ControllerStateProviderService::prepareWirelessStateTransitionStream(
    const ClientQueue<Hidl::WirelessStateTransition>& queue, const ClientIdentity& client,
    const Hidl::FmqConfig& config) {
    return fleet_->streams().wirelessStates->prepare(queue, client, config);
}

Return<Result> ControllerStateProviderService::prepareControllerInputStream(
    const ClientQueue<Hidl::ControllerInputData>& queue, const ClientIdentity& client,
    const Hidl::FmqConfig& config) {
    return fleet_->streams().inputs->prepare(queue, client, config);
}

Return<void> ControllerStateProviderService::preparePoseOutputStream(
    const ClientIdentity& client, preparePoseOutputStream_cb callback) {
    std::shared_ptr<PoseSender> sender;
    const Result result = poses_->prepare(client, &sender);
    if (sender == nullptr) {
        callback(result, {}, {});
    } else {
        callback(result, sender->queue(), sender->config());
    }
    return Void();
}

Return<Result> ControllerStateProviderService::controlHapticsStateStream(
    const ClientIdentity& client, Hidl::StreamCommand command) {
    return fleet_->streams().haptics->control(client, command);
}

Return<Result> ControllerStateProviderService::controlWirelessStateTransitionStream(
    const ClientIdentity& client, Hidl::StreamCommand command) {
    return fleet_->streams().wirelessStates->control(client, command);
}

Return<Result> ControllerStateProviderService::controlControllerInputStream(
    const ClientIdentity& client, Hidl::StreamCommand command) {
    return fleet_->streams().inputs->control(client, command);
}

Return<Result> ControllerStateProviderService::controlPoseOutputStream(
    const ClientIdentity& client, Hidl::StreamCommand command) {
    return poses_->control(client, command);
}

Return<bool> ControllerStateProviderService::notifyBatteryState(uint8_t level) {
    constexpr uint8_t kFull = 100;
    const bool isTaken = level <= kFull;
    ALOGI("controllers: the headset's battery at %u %%: %s", level, isTaken ? "noted" : "refused");
    return isTaken;
}

Return<void> ControllerStateProviderService::enterPairingMode(enterPairingMode_cb callback) {
    fleet_->enterPairingMode();
    callback(kOwner);
    return Void();
}

Return<void> ControllerStateProviderService::getPairingInfo(getPairingInfo_cb callback) {
    Hidl::SecureDeviceInfo info{};
    info.address = kOwner;
    info.deviceId = kOwnerDevice;
    for (size_t i = 0; i < kKeySize; ++i) {
        info.key[i] = static_cast<uint8_t>(0xC0 + i);
    }
    callback(info);
    return Void();
}

Return<bool> ControllerStateProviderService::setPairingInfo(
    const Hidl::SecureHostInfo& host, const android::hardware::hidl_vec<uint8_t>& key) {
    if (key.size() != kKeySize) {
        ALOGW("controllers: refused pairing with host %u and a key of %zu bytes", host.hostId,
              key.size());
        return false;
    }
    fleet_->completePairing();
    return true;
}

Return<bool> ControllerStateProviderService::setKivrarEnabled(bool enabled) {
    ALOGI("controllers: Kivrar %s", enabled ? "on" : "off");
    return true;
}

}  // namespace Simulator
