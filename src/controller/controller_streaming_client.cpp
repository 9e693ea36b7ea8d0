// One HAL call for each method.
//
// The reaction to a failed transport is part of the interface and differs from call to call:
// `checkTransport` ends the process, `withDefault(false)` counts it as a refusal, and a return
// object that is converted without a check ends the process itself.
#include "controller/controller_streaming_client.h"

#include <array>
#include <cstdint>
#include <optional>
#include <utility>

#include "controller/convert.h"
#include "foundation/hal_call.h"

namespace Vek::Sensors::HidlWrapper {

using android::hardware::hidl_vec;
using android::hardware::Return;
using Convert::intoHidl;

ControllerStreamingClient::ControllerStreamingClient(
    gsl::not_null<android::sp<Hidl::IControllerStreamingClient>> hal)
    : hal_(std::move(hal)), deathRecipient_(std::make_unique<HalDeathRecipient>(hal_.get())) {}

ControllerStreamingClient::~ControllerStreamingClient() {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    checkTransport(hal->release(), __PRETTY_FUNCTION__);
}

ControllerCalibrationData ControllerStreamingClient::getCalibrationData(ControllerAddr controller) {
    ControllerCalibrationData calibration;
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    const Return<void> hidlReturn = hal->getCalibrationData(
        intoHidl(controller),
        [&calibration](uint16_t version, const android::hardware::hidl_string& data) {
            calibration = {version, data};
        });
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return calibration;
}

void ControllerStreamingClient::enable(ControllerAddr controller) {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    checkTransport(hal->enable(intoHidl(controller)), __PRETTY_FUNCTION__);
}

void ControllerStreamingClient::disable(ControllerAddr controller) {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    checkTransport(hal->disable(intoHidl(controller)), __PRETTY_FUNCTION__);
}

bool ControllerStreamingClient::controlInputADCStreaming(ControllerAddr controller, bool enable) {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    const Return<bool> hidlReturn = hal->controlInputADCStreaming(intoHidl(controller), enable);
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return unwrap(hidlReturn);
}

bool ControllerStreamingClient::setLedConfig(const ControllerLedConfig& config) {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    return hal->setLedConfig(intoHidl(config)).withDefault(false);
}

bool ControllerStreamingClient::getLedConfig(ControllerAddr controller,
                                             ControllerLedConfig& config) {
    bool answer = false;
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    const Return<void> hidlReturn =
        hal->getLedConfig(intoHidl(controller),
                          [&answer, &config](const Hidl::ControllerLedConfig& led, bool success) {
                              config = Convert::fromHidl(led);
                              answer = success;
                          });
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return answer;
}

bool ControllerStreamingClient::setTransmitPowerBoost(int8_t boost) {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    return hal->setTransmitPowerBoost(boost).withDefault(false);
}

bool ControllerStreamingClient::setMaxHostTransmitPower(int8_t power) {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    return hal->setMaxHostTransmitPower(power).withDefault(false);
}

bool ControllerStreamingClient::setSimpleHaptics(ControllerAddr controller, uint8_t intensity) {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    return hal->setSimpleHaptics(intoHidl(controller), intensity).withDefault(false);
}

bool ControllerStreamingClient::setSimpleHaptics(ControllerAddr controller,
                                                 std::array<SimpleHapticIntensity, 6> steps) {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    return hal->setSimpleHapticsPattern(intoHidl(controller), intoHidl(steps)).withDefault(false);
}

bool ControllerStreamingClient::setBufferedHaptics(ControllerAddr controller, double sampleRate,
                                                   uint8_t count, bool repeat,
                                                   const uint8_t* samples) {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    return hal
        ->setBufferedHaptics(intoHidl(controller), sampleRate, count, repeat,
                             hidl_vec<uint8_t>(samples, samples + count))
        .withDefault(false);
}

bool ControllerStreamingClient::appendBufferedHaptics(ControllerAddr controller, uint8_t count,
                                                      const uint8_t* samples) {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    return hal
        ->appendBufferedHaptics(intoHidl(controller), count,
                                hidl_vec<uint8_t>(samples, samples + count))
        .withDefault(false);
}

bool ControllerStreamingClient::appendPCMHaptics(ControllerAddr controller,
                                                 gsl::span<const int8_t, 72> samples) {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    return hal
        ->appendPCMHaptics(intoHidl(controller), hidl_vec<int8_t>(samples.begin(), samples.end()))
        .withDefault(false);
}

bool ControllerStreamingClient::setThumbstickMaxADCRange(ControllerAddr controller,
                                                         const ThumbstickADCRange& range) {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    return hal->setThumbstickMaxADCRange(intoHidl(controller), intoHidl(range)).withDefault(false);
}

std::optional<ThumbstickADCRange> ControllerStreamingClient::getThumbstickMaxADCRange(
    ControllerAddr controller) {
    std::optional<ThumbstickADCRange> answer;
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    const Return<void> hidlReturn = hal->getThumbstickMaxADCRange(
        intoHidl(controller), [&answer](const Hidl::ThumbstickADCRange& range, bool success) {
            if (success) {
                answer = Convert::fromHidl(range);
            }
        });
    return hidlReturn.isOk() ? answer : std::nullopt;
}

bool ControllerStreamingClient::resetThumbstickMaxADCRange(ControllerAddr controller) {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    return hal->resetThumbstickMaxADCRange(intoHidl(controller)).withDefault(false);
}

bool ControllerStreamingClient::setThumbstickDeadzone(ControllerAddr controller, float deadzone) {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    return hal->setThumbstickDeadzone(intoHidl(controller), deadzone).withDefault(false);
}

std::optional<float> ControllerStreamingClient::getThumbstickDeadzone(ControllerAddr controller) {
    std::optional<float> answer;
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    const Return<void> hidlReturn =
        hal->getThumbstickDeadzone(intoHidl(controller), [&answer](float deadzone, bool success) {
            if (success) {
                answer = deadzone;
            }
        });
    return hidlReturn.isOk() ? answer : std::nullopt;
}

bool ControllerStreamingClient::resetThumbstickDeadzone(ControllerAddr controller) {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    return hal->resetThumbstickDeadzone(intoHidl(controller)).withDefault(false);
}

bool ControllerStreamingClient::sleepController(ControllerAddr controller) {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    return hal->sleepController(intoHidl(controller));
}

bool ControllerStreamingClient::wakeController(ControllerAddr controller) {
    const android::sp<Hidl::IControllerStreamingClient> hal = hal_.get();
    return hal->wakeController(intoHidl(controller));
}

}  // namespace Vek::Sensors::HidlWrapper
