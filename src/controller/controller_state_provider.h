// The provider for the owner of the controllers' state, over its HAL interface.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/controller_state.h>
#include <vendor/zelvan/hardware/sensors/1.0/IControllerStateProvider.h>

#include <cstdint>
#include <memory>

#include "controller/convert.h"
#include "controller/output_stream_handle.h"
#include "foundation/hal_death_recipient.h"
#include "stream/stream_handle.h"

namespace Vek::Sensors::HidlWrapper {

/// Destroying it does not stop its streams at the service.
class ControllerStateProvider : public IControllerStateProvider {
  public:
    explicit ControllerStateProvider(
        gsl::not_null<android::sp<Hidl::IControllerStateProvider>> hal);

    IDataStream<HapticsState>& streamHapticsState() override;
    IDataStream<WirelessStateTransition>& streamWirelessStateTransition() override;
    IDataStream<ControllerInputData>& streamControllerInputData() override;

    void startHapticsStateStream() override;
    void stopHapticsStateStream() override;
    void startWirelessStateTransitionStream() override;
    void stopWirelessStateTransitionStream() override;
    void startControllerInputDataStream() override;
    void stopControllerInputDataStream() override;

    void preparePoseOutputStream() override;
    void startPoseOutputStream() override;
    void stopPoseOutputStream() override;
    bool sendPose(const PoseOutput& pose) override;

    bool notifyBatteryState(uint8_t level) override;
    ControllerAddr enterPairingMode() override;
    SecureDeviceInfo getPairingInfo() override;
    bool setPairingInfo(const SecureHostInfo& host, const uint8_t* key) override;
    bool setKivrarEnabled(bool enabled) override;

  private:
    gsl::not_null<android::sp<Hidl::IControllerStateProvider>> hal_;
    std::unique_ptr<HalDeathRecipient> deathRecipient_;
    StreamHandle<HapticsState, Hidl::HapticsState> haptics_;
    StreamHandle<WirelessStateTransition, Hidl::WirelessStateTransition> wireless_;
    StreamHandle<ControllerInputData, Hidl::ControllerInputData> input_;
    OutputStreamHandle<PoseOutput, Hidl::PoseOutput, 1> pose_;
};

}  // namespace Vek::Sensors::HidlWrapper
