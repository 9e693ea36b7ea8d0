// The HAL interface of the hand controllers, for the program that owns their state.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IControllerStateProvider.h>

#include <cstdint>
#include <memory>

#include "controller/controller_fleet.h"
#include "controller/pose_receiver.h"
#include "service.h"

namespace Simulator {

class ControllerStateProviderService : public Service<Hidl::IControllerStateProvider> {
  public:
    ControllerStateProviderService(std::shared_ptr<ControllerFleet> fleet,
                                   android::sp<PoseReceiver> poses);

    Return<Hidl::Result> prepareHapticsStateStream(const ClientQueue<Hidl::HapticsState>& queue,
                                                   const ClientIdentity& client,
                                                   const Hidl::FmqConfig& config) override;
    Return<Hidl::Result> prepareWirelessStateTransitionStream(
        const ClientQueue<Hidl::WirelessStateTransition>& queue, const ClientIdentity& client,
        const Hidl::FmqConfig& config) override;
    Return<Hidl::Result> prepareControllerInputStream(
        const ClientQueue<Hidl::ControllerInputData>& queue, const ClientIdentity& client,
        const Hidl::FmqConfig& config) override;
    Return<void> preparePoseOutputStream(const ClientIdentity& client,
                                         preparePoseOutputStream_cb callback) override;
    Return<Hidl::Result> controlHapticsStateStream(const ClientIdentity& client,
                                                   Hidl::StreamCommand command) override;
    Return<Hidl::Result> controlWirelessStateTransitionStream(const ClientIdentity& client,
                                                              Hidl::StreamCommand command) override;
    Return<Hidl::Result> controlControllerInputStream(const ClientIdentity& client,
                                                      Hidl::StreamCommand command) override;
    Return<Hidl::Result> controlPoseOutputStream(const ClientIdentity& client,
                                                 Hidl::StreamCommand command) override;
    Return<bool> notifyBatteryState(uint8_t level) override;
    Return<void> enterPairingMode(enterPairingMode_cb callback) override;
    Return<void> getPairingInfo(getPairingInfo_cb callback) override;
    Return<bool> setPairingInfo(const Hidl::SecureHostInfo& host,
                                const android::hardware::hidl_vec<uint8_t>& key) override;
    Return<bool> setKivrarEnabled(bool enabled) override;

  private:
    const std::shared_ptr<ControllerFleet> fleet_;
    const android::sp<PoseReceiver> poses_;
};

}  // namespace Simulator
