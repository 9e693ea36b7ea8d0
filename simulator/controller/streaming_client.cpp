#include "controller/streaming_client.h"

#include <log/log.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <utility>
#include <vector>

namespace Simulator {

using android::hardware::hidl_array;
using android::hardware::hidl_vec;
using Hidl::ControllerAddr;
using Hidl::ControllerFeature;

StreamingClient::StreamingClient(std::shared_ptr<StreamingListener> listener,
                                 std::shared_ptr<ControllerFleet> fleet)
    : listener_(std::move(listener)), fleet_(std::move(fleet)) {}

StreamingClient::~StreamingClient() {
    fleet_->remove(listener_);
}

bool StreamingClient::note(const char* method, bool isDone) const {
    if (!isDone) {
        ALOGW("controllers: refused %s of process %d", method, listener_->process);
    }
    return isDone;
}

template <typename Action>
bool StreamingClient::command(const char* method, const ControllerAddr& controller,
                              const Action& action) {
    return note(method, fleet_->with(controller, false, action));
}

template <typename Action>
bool StreamingClient::play(const char* method, const ControllerAddr& controller,
                           const Action& action) {
    return command(method, controller, [&](ControllerDevice& device) {
        if (!device.isConnected() || !action(device.haptics, fleet_->now())) {
            return false;
        }
        device.hapticsOwner = listener_.get();
        return true;
    });
}

template <typename Value, typename Get, typename Callback>
Return<void> StreamingClient::query(const ControllerAddr& controller, const Get& get,
                                    const Callback& callback) {
    Value value{};
    const bool isThere = fleet_->with(controller, false, [&](const ControllerDevice& device) {
        value = get(device);
        return true;
    });
    callback(value, isThere);
    return Void();
}

Return<void> StreamingClient::release() {
    fleet_->remove(listener_);
    return Void();
}

Return<void> StreamingClient::getCalibrationData(const ControllerAddr& controller,
                                                 getCalibrationData_cb callback) {
    const bool isThere =
        fleet_->with(controller, false, [](const ControllerDevice&) { return true; });
    callback(isThere ? 1 : 0, isThere ? "gyroscope 1 1 1; accelerometer 1 1 1" : "");
    return Void();
}

Return<void> StreamingClient::enable(const ControllerAddr& controller) {
    note("enable", fleet_->enable(listener_.get(), controller, true));
    return Void();
}

Return<void> StreamingClient::disable(const ControllerAddr& controller) {
    note("disable", fleet_->enable(listener_.get(), controller, false));
    return Void();
}

Return<bool> StreamingClient::controlInputADCStreaming(const ControllerAddr& controller,
                                                       bool enable) {
    return note("controlInputADCStreaming", fleet_->enableAdc(listener_.get(), controller, enable));
}

Return<bool> StreamingClient::setLedConfig(const Hidl::ControllerLedConfig& config) {
    return note("setLedConfig", fleet_->withHand(config.hand, [&](ControllerDevice& device) {
        return device.setLed(config);
    }));
}

Return<void> StreamingClient::getLedConfig(const ControllerAddr& controller,
                                           getLedConfig_cb callback) {
    return query<Hidl::ControllerLedConfig>(
        controller, [](const ControllerDevice& device) { return device.led(); }, callback);
}

Return<bool> StreamingClient::setTransmitPowerBoost(int8_t boost) {
    return note("setTransmitPowerBoost", fleet_->setTransmitPowerBoost(boost));
}

Return<bool> StreamingClient::setMaxHostTransmitPower(int8_t power) {
    return note("setMaxHostTransmitPower", fleet_->setMaxTransmitPower(power));
}

Return<bool> StreamingClient::setSimpleHaptics(const ControllerAddr& controller,
                                               uint8_t intensity) {
    return play("setSimpleHaptics", controller, [&](HapticsPlayer& haptics, auto now) {
        haptics.vibrate(intensity, now);
        return true;
    });
}

Return<bool> StreamingClient::setSimpleHapticsPattern(
    const ControllerAddr& controller, const hidl_array<Hidl::SimpleHapticIntensity, 6>& steps) {
    return play("setSimpleHapticsPattern", controller, [&](HapticsPlayer& haptics, auto now) {
        haptics.playPattern(steps, now);
        return true;
    });
}

Return<bool> StreamingClient::setBufferedHaptics(const ControllerAddr& controller,
                                                 double sampleRate, uint8_t count, bool repeat,
                                                 const hidl_vec<uint8_t>& samples) {
    return play("setBufferedHaptics", controller, [&](HapticsPlayer& haptics, auto now) {
        return count == samples.size() && haptics.playBuffer(sampleRate, repeat, samples, now);
    });
}

Return<bool> StreamingClient::appendBufferedHaptics(const ControllerAddr& controller, uint8_t count,
                                                    const hidl_vec<uint8_t>& samples) {
    return play("appendBufferedHaptics", controller, [&](HapticsPlayer& haptics, auto now) {
        return count == samples.size() && haptics.appendBuffer(samples, now);
    });
}

Return<bool> StreamingClient::appendPCMHaptics(const ControllerAddr& controller,
                                               const hidl_vec<int8_t>& samples) {
    return play("appendPCMHaptics", controller,
                [&](HapticsPlayer& haptics, auto now) { return haptics.appendPcm(samples, now); });
}

Return<bool> StreamingClient::setThumbstickMaxADCRange(const ControllerAddr& controller,
                                                       const Hidl::ThumbstickADCRange& range) {
    return command("setThumbstickMaxADCRange", controller,
                   [&](ControllerDevice& device) { return device.setThumbstickRange(range); });
}

Return<void> StreamingClient::getThumbstickMaxADCRange(const ControllerAddr& controller,
                                                       getThumbstickMaxADCRange_cb callback) {
    return query<Hidl::ThumbstickADCRange>(
        controller, [](const ControllerDevice& device) { return device.thumbstick().range; },
        callback);
}

Return<bool> StreamingClient::resetThumbstickMaxADCRange(const ControllerAddr& controller) {
    return command("resetThumbstickMaxADCRange", controller, [](ControllerDevice& device) {
        return device.setThumbstickRange(ThumbstickCalibration::kFactoryRange);
    });
}

Return<bool> StreamingClient::setThumbstickDeadzone(const ControllerAddr& controller,
                                                    float deadzone) {
    return command("setThumbstickDeadzone", controller,
                   [&](ControllerDevice& device) { return device.setDeadzone(deadzone); });
}

Return<void> StreamingClient::getThumbstickDeadzone(const ControllerAddr& controller,
                                                    getThumbstickDeadzone_cb callback) {
    return query<float>(
        controller, [](const ControllerDevice& device) { return device.thumbstick().deadzone; },
        callback);
}

Return<bool> StreamingClient::resetThumbstickDeadzone(const ControllerAddr& controller) {
    return command("resetThumbstickDeadzone", controller, [](ControllerDevice& device) {
        return device.setDeadzone(ThumbstickCalibration::kFactoryDeadzone);
    });
}

Return<bool> StreamingClient::sleepController(const ControllerAddr& controller) {
    return command("sleepController", controller,
                   [](ControllerDevice& device) { return device.sleep(); });
}

Return<bool> StreamingClient::wakeController(const ControllerAddr& controller) {
    return command("wakeController", controller,
                   [this](ControllerDevice& device) { return device.wake(fleet_->now()); });
}

}  // namespace Simulator
