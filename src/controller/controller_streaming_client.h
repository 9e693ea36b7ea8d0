// Commands to connected controllers, over the service's client object.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/controller.h>
#include <vendor/zelvan/hardware/sensors/1.0/IControllerStreamingClient.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

#include "foundation/hal.h"
#include "foundation/hal_death_recipient.h"

namespace Vek::Sensors::HidlWrapper {

/// Releases the service's object when it is destroyed.
class ControllerStreamingClient : public IControllerStreamingClient {
  public:
    explicit ControllerStreamingClient(
        gsl::not_null<android::sp<Hidl::IControllerStreamingClient>> hal);
    ~ControllerStreamingClient() override;

    ControllerStreamingClient(const ControllerStreamingClient&) = delete;
    ControllerStreamingClient& operator=(const ControllerStreamingClient&) = delete;

    ControllerCalibrationData getCalibrationData(ControllerAddr controller) override;
    void enable(ControllerAddr controller) override;
    void disable(ControllerAddr controller) override;
    bool controlInputADCStreaming(ControllerAddr controller, bool enable) override;
    bool setLedConfig(const ControllerLedConfig& config) override;
    bool getLedConfig(ControllerAddr controller, ControllerLedConfig& config) override;
    bool setTransmitPowerBoost(int8_t boost) override;
    bool setMaxHostTransmitPower(int8_t power) override;
    bool setSimpleHaptics(ControllerAddr controller, uint8_t intensity) override;
    bool setSimpleHaptics(ControllerAddr controller,
                          std::array<SimpleHapticIntensity, 6> steps) override;
    bool setBufferedHaptics(ControllerAddr controller, double sampleRate, uint8_t count,
                            bool repeat, const uint8_t* samples) override;
    bool appendBufferedHaptics(ControllerAddr controller, uint8_t count,
                               const uint8_t* samples) override;
    bool appendPCMHaptics(ControllerAddr controller, gsl::span<const int8_t, 72> samples) override;
    bool setThumbstickMaxADCRange(ControllerAddr controller,
                                  const ThumbstickADCRange& range) override;
    std::optional<ThumbstickADCRange> getThumbstickMaxADCRange(ControllerAddr controller) override;
    bool resetThumbstickMaxADCRange(ControllerAddr controller) override;
    bool setThumbstickDeadzone(ControllerAddr controller, float deadzone) override;
    std::optional<float> getThumbstickDeadzone(ControllerAddr controller) override;
    bool resetThumbstickDeadzone(ControllerAddr controller) override;
    bool sleepController(ControllerAddr controller) override;
    bool wakeController(ControllerAddr controller) override;

  private:
    gsl::not_null<android::sp<Hidl::IControllerStreamingClient>> hal_;
    std::unique_ptr<HalDeathRecipient> deathRecipient_;
};

}  // namespace Vek::Sensors::HidlWrapper
