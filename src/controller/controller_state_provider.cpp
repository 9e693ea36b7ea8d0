// The commands of the controllers' state owner.
#include "controller/controller_state_provider.h"

#include <cstdint>
#include <utility>

#include "os/bind_receiver.h"

namespace Vek::Sensors::HidlWrapper {
namespace {

constexpr size_t kPairingKeySize = 16;

}  // namespace

ControllerStateProvider::ControllerStateProvider(
    gsl::not_null<android::sp<Hidl::IControllerStateProvider>> hal)
    : hal_(std::move(hal)),
      deathRecipient_(std::make_unique<HalDeathRecipient>(hal_.get())),
      haptics_(
          OS::BindReceiver(hal_.get(), &Hidl::IControllerStateProvider::prepareHapticsStateStream)),
      wireless_(OS::BindReceiver(
          hal_.get(), &Hidl::IControllerStateProvider::prepareWirelessStateTransitionStream)),
      input_(OS::BindReceiver(hal_.get(),
                              &Hidl::IControllerStateProvider::prepareControllerInputStream)),
      pose_(
          "pose",
          OS::BindReceiver(hal_.get(), &Hidl::IControllerStateProvider::controlPoseOutputStream),
          OS::BindReceiver(hal_.get(), &Hidl::IControllerStateProvider::preparePoseOutputStream)) {}

IDataStream<HapticsState>& ControllerStateProvider::streamHapticsState() {
    return haptics_;
}

IDataStream<WirelessStateTransition>& ControllerStateProvider::streamWirelessStateTransition() {
    return wireless_;
}

IDataStream<ControllerInputData>& ControllerStateProvider::streamControllerInputData() {
    return input_;
}

void ControllerStateProvider::startHapticsStateStream() {
    const android::sp<Hidl::IControllerStateProvider> hal = hal_.get();
    MORIAK_CONTROL_CALL(
        hal->controlHapticsStateStream(haptics_.client(), Hidl::StreamCommand::START),
        "Start haptic stream command failed with result: %d");
}

void ControllerStateProvider::stopHapticsStateStream() {
    const android::sp<Hidl::IControllerStateProvider> hal = hal_.get();
    MORIAK_CONTROL_CALL(
        hal->controlHapticsStateStream(haptics_.client(), Hidl::StreamCommand::STOP),
        "Stop haptic stream command failed with result: %d");
}

void ControllerStateProvider::startWirelessStateTransitionStream() {
    const android::sp<Hidl::IControllerStateProvider> hal = hal_.get();
    MORIAK_CONTROL_CALL(
        hal->controlWirelessStateTransitionStream(wireless_.client(), Hidl::StreamCommand::START),
        "Start wireless state transition stream command failed with result: %d");
}

void ControllerStateProvider::stopWirelessStateTransitionStream() {
    const android::sp<Hidl::IControllerStateProvider> hal = hal_.get();
    MORIAK_CONTROL_CALL(
        hal->controlWirelessStateTransitionStream(wireless_.client(), Hidl::StreamCommand::STOP),
        "Stop wireless state transition stream command failed with result: %d");
}

void ControllerStateProvider::startControllerInputDataStream() {
    const android::sp<Hidl::IControllerStateProvider> hal = hal_.get();
    MORIAK_CONTROL_CALL(
        hal->controlControllerInputStream(input_.client(), Hidl::StreamCommand::START),
        "Start controller stream command failed with result: %d");
}

void ControllerStateProvider::stopControllerInputDataStream() {
    const android::sp<Hidl::IControllerStateProvider> hal = hal_.get();
    MORIAK_CONTROL_CALL(
        hal->controlControllerInputStream(input_.client(), Hidl::StreamCommand::STOP),
        "Stop controller stream command failed with result: %d");
}

void ControllerStateProvider::preparePoseOutputStream() {
    pose_.prepareStream();
}

void ControllerStateProvider::startPoseOutputStream() {
    pose_.start();
}

void ControllerStateProvider::stopPoseOutputStream() {
    pose_.stop();
}

bool ControllerStateProvider::sendPose(const PoseOutput& pose) {
    return pose_.send({&pose, 1});
}

bool ControllerStateProvider::notifyBatteryState(uint8_t level) {
    const android::sp<Hidl::IControllerStateProvider> hal = hal_.get();
    return hal->notifyBatteryState(level).withDefault(false);
}

ControllerAddr ControllerStateProvider::enterPairingMode() {
    ControllerAddr controller{};
    const android::sp<Hidl::IControllerStateProvider> hal = hal_.get();
    const android::hardware::Return<void> hidlReturn =
        hal->enterPairingMode([&controller](const Hidl::ControllerAddr& answer) {
            controller = ControllerAddr{answer.address};
        });
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return controller;
}

SecureDeviceInfo ControllerStateProvider::getPairingInfo() {
    SecureDeviceInfo info{};
    const android::sp<Hidl::IControllerStateProvider> hal = hal_.get();
    const android::hardware::Return<void> hidlReturn =
        hal->getPairingInfo([&info](const Hidl::SecureDeviceInfo& answer) {
            info.address = ControllerAddr{answer.address.address};
            info.deviceId = answer.deviceId;
            // The key is never passed to the client, whatever the service sends.
        });
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return info;
}

bool ControllerStateProvider::setPairingInfo(const SecureHostInfo& host, const uint8_t* key) {
    const android::sp<Hidl::IControllerStateProvider> hal = hal_.get();
    return hal
        ->setPairingInfo(Convert::intoHidl(host),
                         android::hardware::hidl_vec<uint8_t>(key, key + kPairingKeySize))
        .withDefault(false);
}

bool ControllerStateProvider::setKivrarEnabled(bool enabled) {
    const android::sp<Hidl::IControllerStateProvider> hal = hal_.get();
    return hal->setKivrarEnabled(enabled).withDefault(false);
}

}  // namespace Vek::Sensors::HidlWrapper
