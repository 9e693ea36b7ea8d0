// The HAL interface of the hand controllers, for the program that owns their state.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IControllerStateProvider.h>

#include <memory>

#include "controller/controller_fleet.h"
#include "controller/pose_receiver.h"
#include "service.h"

namespace Simulator {

class ControllerStateProviderService : public Service<Hal::IControllerStateProvider> {
  public:
    ControllerStateProviderService(std::shared_ptr<ControllerFleet> fleet,
                                   android::sp<PoseReceiver> poses);

    Return<Hal::Result> prepareHapticsStateStream(const ClientQueue<Hal::HapticsState>& queue,
                                                  const ClientIdentity& client,
                                                  const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareWirelessStateTransitionStream(
        const ClientQueue<Hal::WirelessStateTransition>& queue, const ClientIdentity& client,
        const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareControllerInputStream(
        const ClientQueue<Hal::ControllerInputData>& queue, const ClientIdentity& client,
        const Hal::FmqConfig& config) override;
    Return<void> preparePoseOutputStream(const ClientIdentity& client,
                                         preparePoseOutputStream_cb callback) override;
    Return<Hal::Result> controlHapticsStateStream(const ClientIdentity& client,
                                                  Hal::StreamCommand command) override;
    Return<Hal::Result> controlWirelessStateTransitionStream(const ClientIdentity& client,
                                                             Hal::StreamCommand command) override;
    Return<Hal::Result> controlControllerInputStream(const ClientIdentity& client,
                                                     Hal::StreamCommand command) override;
    Return<Hal::Result> controlPoseOutputStream(const ClientIdentity& client,
                                                Hal::StreamCommand command) override;
    Return<bool> notifyBatteryState(uint8_t level) override;
    Return<void> enterPairingMode(enterPairingMode_cb callback) override;
    Return<void> getPairingInfo(getPairingInfo_cb callback) override;
    Return<bool> setPairingInfo(const Hal::SecureHostInfo& host,
                                const android::hardware::hidl_vec<uint8_t>& key) override;
    Return<bool> setKivrarEnabled(bool enabled) override;

  private:
    const std::shared_ptr<ControllerFleet> fleet_;
    const android::sp<PoseReceiver> poses_;
};

}  // namespace Simulator
