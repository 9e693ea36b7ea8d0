// The HAL object through which one client commands the connected controllers.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IControllerStreamingClient.h>

#include <cstdint>
#include <memory>

#include "controller/controller_fleet.h"
#include "service.h"

namespace Simulator {

/// Disables everything that its client has enabled when it is released, or when the client's
/// process dies.
class StreamingClient : public Service<Hidl::IControllerStreamingClient> {
  public:
    /// @param listener already added to the fleet
    StreamingClient(std::shared_ptr<StreamingListener> listener,
                    std::shared_ptr<ControllerFleet> fleet);
    ~StreamingClient() override;

    Return<void> release() override;
    Return<void> getCalibrationData(const Hidl::ControllerAddr& controller,
                                    getCalibrationData_cb callback) override;
    Return<void> enable(const Hidl::ControllerAddr& controller) override;
    Return<void> disable(const Hidl::ControllerAddr& controller) override;
    Return<bool> controlInputADCStreaming(const Hidl::ControllerAddr& controller,
                                          bool enable) override;
    Return<bool> setLedConfig(const Hidl::ControllerLedConfig& config) override;
    Return<void> getLedConfig(const Hidl::ControllerAddr& controller,
                              getLedConfig_cb callback) override;
    Return<bool> setTransmitPowerBoost(int8_t boost) override;
    Return<bool> setMaxHostTransmitPower(int8_t power) override;
    Return<bool> setSimpleHaptics(const Hidl::ControllerAddr& controller,
                                  uint8_t intensity) override;
    Return<bool> setSimpleHapticsPattern(
        const Hidl::ControllerAddr& controller,
        const android::hardware::hidl_array<Hidl::SimpleHapticIntensity, 6>& steps) override;
    Return<bool> setBufferedHaptics(const Hidl::ControllerAddr& controller, double sampleRate,
                                    uint8_t count, bool repeat,
                                    const android::hardware::hidl_vec<uint8_t>& samples) override;
    Return<bool> appendBufferedHaptics(
        const Hidl::ControllerAddr& controller, uint8_t count,
        const android::hardware::hidl_vec<uint8_t>& samples) override;
    Return<bool> appendPCMHaptics(const Hidl::ControllerAddr& controller,
                                  const android::hardware::hidl_vec<int8_t>& samples) override;
    Return<bool> setThumbstickMaxADCRange(const Hidl::ControllerAddr& controller,
                                          const Hidl::ThumbstickADCRange& range) override;
    Return<void> getThumbstickMaxADCRange(const Hidl::ControllerAddr& controller,
                                          getThumbstickMaxADCRange_cb callback) override;
    Return<bool> resetThumbstickMaxADCRange(const Hidl::ControllerAddr& controller) override;
    Return<bool> setThumbstickDeadzone(const Hidl::ControllerAddr& controller,
                                       float deadzone) override;
    Return<void> getThumbstickDeadzone(const Hidl::ControllerAddr& controller,
                                       getThumbstickDeadzone_cb callback) override;
    Return<bool> resetThumbstickDeadzone(const Hidl::ControllerAddr& controller) override;
    Return<bool> sleepController(const Hidl::ControllerAddr& controller) override;
    Return<bool> wakeController(const Hidl::ControllerAddr& controller) override;

  private:
    /// Returns the result of `action` for the paired controller; false if there is no such
    /// controller.
    template <typename Action>
    bool command(const char* method, const Hidl::ControllerAddr& controller, const Action& action);
    /// Like `command`, but also false if the controller is not connected.
    template <typename Action>
    bool play(const char* method, const Hidl::ControllerAddr& controller, const Action& action);
    /// Calls the callback with the value that `get` reads from the controller.
    template <typename Value, typename Get, typename Callback>
    Return<void> query(const Hidl::ControllerAddr& controller, const Get& get,
                       const Callback& callback);
    bool note(const char* method, bool isDone) const;

    const std::shared_ptr<StreamingListener> listener_;
    const std::shared_ptr<ControllerFleet> fleet_;
};

}  // namespace Simulator
