// The HAL interface of the hand controllers, for the program that owns their state.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IControllerStateProvider.h>

#include <memory>

#include "controller/controller_fleet.h"
#include "controller/pose_receiver.h"
#include "faults.h"
#include "hal.h"

namespace Simulator {

class ControllerStateProviderService : public Hal::IControllerStateProvider {
  public:
    ControllerStateProviderService(std::shared_ptr<ControllerFleet> fleet,
                                   android::sp<PoseReceiver> poses,
                                   std::shared_ptr<const Faults> faults);

    template <typename T>
    using Return = android::hardware::Return<T>;
    template <typename Record>
    using Queue = android::hardware::MQDescriptorSync<Record>;
    using Client = android::sp<Hal::ISensorClient>;

    Return<Hal::Result> prepareHapticsStateStream(const Queue<Hal::HapticsState>& queue,
                                                  const Client& client,
                                                  const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareWirelessStateTransitionStream(
        const Queue<Hal::WirelessStateTransition>& queue, const Client& client,
        const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareControllerInputStream(const Queue<Hal::ControllerInputData>& queue,
                                                     const Client& client,
                                                     const Hal::FmqConfig& config) override;
    Return<void> preparePoseOutputStream(const Client& client,
                                         preparePoseOutputStream_cb callback) override;
    Return<Hal::Result> controlHapticsStateStream(const Client& client,
                                                  Hal::StreamCommand command) override;
    Return<Hal::Result> controlWirelessStateTransitionStream(const Client& client,
                                                             Hal::StreamCommand command) override;
    Return<Hal::Result> controlControllerInputStream(const Client& client,
                                                     Hal::StreamCommand command) override;
    Return<Hal::Result> controlPoseOutputStream(const Client& client,
                                                Hal::StreamCommand command) override;
    Return<bool> notifyBatteryState(uint8_t level) override;
    Return<void> enterPairingMode(enterPairingMode_cb callback) override;
    Return<void> getPairingInfo(getPairingInfo_cb callback) override;
    Return<bool> setPairingInfo(const Hal::SecureHostInfo& host,
                                const android::hardware::hidl_vec<uint8_t>& key) override;
    Return<bool> setKivrarEnabled(bool enabled) override;

  private:
    bool isFaulty(const char* method) const;
    /// The answer of `action`, or of the fault that the method has.
    template <typename Action>
    Hal::Result unlessFaulty(const char* method, const Action& action) const;

    const std::shared_ptr<ControllerFleet> fleet_;
    const android::sp<PoseReceiver> poses_;
    const std::shared_ptr<const Faults> faults_;
};

}  // namespace Simulator
