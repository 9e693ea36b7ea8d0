#include "controller/controller_device.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Simulator {
namespace {

using Hidl::ControllerConnection;
using Hidl::ControllerFeature;
using Hidl::Result;

constexpr std::chrono::milliseconds kConnectTime{100};
constexpr std::chrono::seconds kReportInterval{1};

// Fraction of the battery that is used in a second.
constexpr double kBatteryForRadio = 1 / (30 * 3600.0);
constexpr double kBatteryForHaptics = 1 / (4 * 3600.0);

// In degrees Celsius.
constexpr double kRoomTemperature = 25;
constexpr double kWarmthInUse = 6;
constexpr double kWarmthOfHaptics = 3;
constexpr double kWarming = 1 / 180.0;

/// Copies a text into a field. A text that fills the field has no terminating zero.
template <size_t Size>
android::hardware::hidl_array<uint8_t, Size> textField(const std::string& text) {
    std::array<uint8_t, Size> field{};
    std::copy_n(text.begin(), std::min(text.size(), Size), field.begin());
    return field;
}

}  // namespace

ControllerDevice::ControllerDevice(ControllerIdentity identity, ControllerModel controllerModel,
                                   bool isPaired)
    : model(std::move(controllerModel)),
      identity_(std::move(identity)),
      isPaired_(isPaired),
      connection_(isPaired ? ControllerConnection::CONNECTED : ControllerConnection::DISCONNECTED) {
    led_.hand = identity_.hand;
}

void ControllerDevice::connect(Time now) {
    connection_ = ControllerConnection::CONNECTING;
    connectedAt_ = now + kConnectTime;
    isChanged_ = true;
}

Result ControllerDevice::pair(Time now) {
    if (isPaired_) {
        return Result::FAILURE;
    }
    isPaired_ = true;
    connect(now);
    return Result::SUCCESS;
}

Result ControllerDevice::unpair(Time now) {
    if (isUpdating_) {
        return Result::BAD_STATE;
    }
    isPaired_ = false;
    isDmm_ = false;
    haptics.stop(now);
    connection_ = ControllerConnection::DISCONNECTED;
    isChanged_ = true;
    return Result::SUCCESS;
}

Result ControllerDevice::enterDmm() {
    if (isDmm_ || isUpdating_ || !isConnected()) {
        return Result::BAD_STATE;
    }
    isDmm_ = true;
    isChanged_ = true;
    return Result::SUCCESS;
}

Result ControllerDevice::exitDmm() {
    if (!isDmm_) {
        return Result::BAD_STATE;
    }
    isDmm_ = false;
    isChanged_ = true;
    return Result::SUCCESS;
}

Result ControllerDevice::beginUpdate(Hidl::ControllerType type) {
    if (type != identity_.type) {
        return Result::FAILURE;
    }
    if (isUpdating_ || !isConnected()) {
        return Result::BAD_STATE;
    }
    isUpdating_ = true;
    isChanged_ = true;
    return Result::SUCCESS;
}

void ControllerDevice::endUpdate(bool isComplete) {
    isUpdating_ = false;
    firmwareRevision_ += isComplete ? 1 : 0;
    isChanged_ = true;
}

bool ControllerDevice::sleep() {
    if (isUpdating_ || !isConnected()) {
        return false;
    }
    connection_ = ControllerConnection::ASLEEP;
    isChanged_ = true;
    return true;
}

bool ControllerDevice::wake(Time now) {
    if (connection_ != ControllerConnection::ASLEEP) {
        return false;
    }
    connect(now);
    return true;
}

void ControllerDevice::suffer(const ControllerEffects& effects, Time now) {
    const bool wasAway = effects_.isDisconnected || effects_.isAsleep;
    isChanged_ = isChanged_ || effects.isFlat != effects_.isFlat;
    if (recorded_) {
        isChanged_ = isChanged_ || effects.isDisconnected != effects_.isDisconnected ||
                     effects.isAsleep != effects_.isAsleep;
        effects_ = effects;
        return;
    }
    effects_ = effects;
    if (!isPaired_) {
        return;
    }
    const ControllerConnection forced = afflicted(connection_);
    if (forced != connection_) {
        connection_ = forced;
        haptics.stop(now);
        isChanged_ = true;
    } else if (wasAway && !effects.isDisconnected && !effects.isAsleep) {
        connect(now);
    }
}

ControllerConnection ControllerDevice::afflicted(ControllerConnection connection) const {
    return effects_.isDisconnected ? ControllerConnection::DISCONNECTED
           : effects_.isAsleep     ? ControllerConnection::ASLEEP
                                   : connection;
}

void ControllerDevice::advance(Time now) {
    if (connection_ == ControllerConnection::CONNECTING && now >= connectedAt_) {
        connection_ = ControllerConnection::CONNECTED;
        isChanged_ = true;
    }
    if (now >= nextReport_) {
        nextReport_ = now + kReportInterval;
        const double use = isConnected() ? 1 : 0;
        const double vibration = haptics.isPlaying() ? 1 : 0;
        charge_ = std::max(0.0, charge_ - use * kBatteryForRadio - vibration * kBatteryForHaptics);
        const double warm = kRoomTemperature + use * kWarmthInUse + vibration * kWarmthOfHaptics;
        temperature_ += kWarming * (warm - temperature_);
        isChanged_ = isChanged_ || isConnected();
    }
}

bool ControllerDevice::takeChange() {
    return std::exchange(isChanged_, false);
}

void ControllerDevice::setRecorded(const Hidl::PairedControllerInfo& info) {
    recorded_ = info;
    connection_ = info.connection;
}

Hidl::PairedControllerInfo ControllerDevice::info() const {
    if (recorded_) {
        Hidl::PairedControllerInfo info = *recorded_;
        info.connection = afflicted(info.connection);
        info.batteryLevel = effects_.isFlat ? 0 : info.batteryLevel;
        return info;
    }
    Hidl::PairedControllerInfo info{};
    info.type = identity_.type;
    info.address = identity_.address;
    info.hand = identity_.hand;
    info.connection = connection_;
    const double charge = effects_.isFlat ? 0 : charge_;
    info.batteryLevel = static_cast<uint8_t>(std::lround(100 * charge));
    info.batteryVoltage = static_cast<float>(3.3 + 0.9 * charge);
    info.name = textField<16>(identity_.name);
    info.model = textField<64>(identity_.model);
    info.serialNumber = textField<64>(identity_.serialNumber);
    info.hardwareVersion = textField<64>("A");
    info.firmwareVersion = textField<64>(fmt::format("1.{}", firmwareRevision_));
    info.features = identity_.features | (isDmm_ ? maskOf(ControllerFeature::DMM) : 0) |
                    (isUpdating_ ? maskOf(ControllerFeature::UPDATING) : 0) |
                    (charge < 0.1 ? maskOf(ControllerFeature::BATTERY_LOW) : 0);
    for (size_t i = 0; i < 140; ++i) {
        info.factoryCalibration[i] = static_cast<uint8_t>(i + identity_.address.address);
    }
    info.temperature = static_cast<float>(temperature_);
    return info;
}

Hidl::AdvertisingControllerInfo ControllerDevice::advertisement() const {
    Hidl::AdvertisingControllerInfo info{};
    info.type = identity_.type;
    info.address = identity_.address;
    info.name = textField<16>(identity_.name);
    info.productCode = identity_.productCode;
    info.features = identity_.features;
    return info;
}

bool ControllerDevice::setLed(const Hidl::ControllerLedConfig& config) {
    if (!has(ControllerFeature::LED) || config.pattern > Hidl::LedPattern::BREATHE) {
        return false;
    }
    led_ = config;
    return true;
}

bool ControllerDevice::setThumbstickRange(const Hidl::ThumbstickADCRange& range) {
    if (!has(ControllerFeature::THUMBSTICK) || range.minimumX >= range.maximumX ||
        range.minimumY >= range.maximumY) {
        return false;
    }
    thumbstick_.range = range;
    return true;
}

bool ControllerDevice::setDeadzone(float deadzone) {
    // Written so that NaN is refused.
    if (!has(ControllerFeature::THUMBSTICK) || !(deadzone >= 0 && deadzone <= 1)) {
        return false;
    }
    thumbstick_.deadzone = deadzone;
    return true;
}

}  // namespace Simulator
