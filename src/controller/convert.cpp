// Converts controller records field by field.
//
// An API record starts as `Record()`: that, unlike `Record{}`, zeroes the bytes between the fields
// too, so that what a client gets depends on nothing but what the service wrote.
#include "controller/convert.h"

#include <cstring>

#include "foundation/log.h"
#include "foundation/same_layout.h"

namespace Vek::Sensors::Convert {
namespace {

/// A bounded copy: stops at the first zero, fills up with zeros, and leaves a text that fills its
/// field without one.
template <size_t Size>
void copyText(ControllerText<Size>& to, const android::hardware::hidl_array<uint8_t, Size>& from) {
    std::strncpy(to.data(), reinterpret_cast<const char*>(from.data()), Size);
}

ControllerAddr fromHidl(Hidl::ControllerAddr controller) {
    return ControllerAddr{controller.address};
}

/// Bits above the set's are dropped, not reported.
template <size_t Flags>
void copyFlags(std::bitset<Flags>& to, uint32_t from) {
    to = std::bitset<Flags>{from};
}

TouchPoint fromHidl(const Hidl::TouchPoint& point) {
    auto result = TouchPoint();
    result.touching = point.touching != 0;
    result.finger = point.finger & 3U;
    result.pressed = point.pressed != 0;
    result.x = point.x;
    result.y = point.y;
    result.force = point.force;
    result.majorAxis = point.majorAxis;
    result.minorAxis = point.minorAxis;
    return result;
}

}  // namespace

PairedControllerInfo fromHidl(const Hidl::PairedControllerInfo& info) {
    auto result = PairedControllerInfo();
    result.type = static_cast<ControllerType>(info.type);
    result.address = fromHidl(info.address);
    result.hand = static_cast<ControllerHand>(info.hand);
    result.connection = static_cast<ControllerConnection>(info.connection);
    result.batteryLevel = info.batteryLevel;
    result.batteryVoltage = info.batteryVoltage;
    copyText(result.name, info.name);
    copyText(result.model, info.model);
    copyText(result.serialNumber, info.serialNumber);
    copyText(result.hardwareVersion, info.hardwareVersion);
    copyText(result.firmwareVersion, info.firmwareVersion);
    copyFlags(result.features, info.features);
    result.factoryCalibration = info.factoryCalibration;
    result.temperature = info.temperature;
    return result;
}

AdvertisingControllerInfo fromHidl(const Hidl::AdvertisingControllerInfo& info) {
    auto result = AdvertisingControllerInfo();
    result.type = static_cast<ControllerType>(info.type);
    result.address = fromHidl(info.address);
    copyText(result.name, info.name);
    result.productCode = info.productCode;
    result.features = info.features & ((1U << kControllerFeatures) - 1U);
    return result;
}

ButtonData fromHidl(const Hidl::ButtonData& data) {
    auto result = ButtonData();
    result.header = {fromHidl(data.header.controller), data.header.timestamp,
                     data.header.arrivalTimestamp, data.header.sequence};
    copyFlags(result.pressed, data.pressed);
    copyFlags(result.touched, data.touched);
    copyFlags(result.approached, data.approached);
    result.trigger = data.trigger;
    result.grip = data.grip;
    result.thumbstick = data.thumbstick;
    return result;
}

CurlData fromHidl(const Hidl::CurlData& data) {
    auto result = CurlData();
    result.header.controller = fromHidl(data.header.controller);
    result.curl = data.curl;
    result.splay = data.splay;
    result.sampleTime = data.sampleTime;
    result.confidence = data.confidence;
    return result;
}

PrecisionPadData fromHidl(const Hidl::PrecisionPadData& data) {
    auto result = PrecisionPadData();
    result.header.controller = fromHidl(data.header.controller);
    result.phase = static_cast<PrecisionPadPhase>(data.phase);
    result.gesture = 0;
    result.position = data.position;
    result.force = data.force;
    result.contactArea = data.contactArea;
    result.proximity = data.proximity;
    return result;
}

MultiTouchData fromHidl(const Hidl::MultiTouchData& data) {
    auto result = MultiTouchData();
    result.header.controller = fromHidl(data.header.controller);
    for (size_t i = 0; i < result.points.size(); ++i) {
        result.points[i] = fromHidl(data.points[i]);
    }
    return result;
}

StylusData fromHidl(const Hidl::StylusData& data) {
    auto result = StylusData();
    result.header.controller = fromHidl(data.header.controller);
    result.pressure = data.pressure;
    return result;
}

ControllerInputData fromHidl(const Hidl::ControllerInputData& data) {
    using Discriminator = Hidl::ControllerInputData::hidl_discriminator;
    const Discriminator discriminator = data.getDiscriminator();
    switch (discriminator) {
        case Discriminator::buttons:
            return ControllerInputData{fromHidl(data.buttons())};
        case Discriminator::curl:
            return ControllerInputData{fromHidl(data.curl())};
        case Discriminator::precisionPad:
            return ControllerInputData{fromHidl(data.precisionPad())};
        case Discriminator::multiTouch:
            return ControllerInputData{fromHidl(data.multiTouch())};
        case Discriminator::stylus:
            return ControllerInputData{fromHidl(data.stylus())};
    }
    MORIAK_FATAL("Unknown controller input discriminator %u", static_cast<unsigned>(discriminator));
}

ControllerLedConfig fromHidl(const Hidl::ControllerLedConfig& config) {
    return copyBits<ControllerLedConfig>(config);
}

ThumbstickADCRange fromHidl(const Hidl::ThumbstickADCRange& range) {
    return copyBits<ThumbstickADCRange>(range);
}

SecureHostInfo fromHidl(const Hidl::SecureHostInfo& info) {
    return {info.hostId, info.key};
}

Hidl::ControllerAddr intoHidl(ControllerAddr controller) {
    return {static_cast<uint64_t>(controller)};
}

Hidl::ControllerLedConfig intoHidl(const ControllerLedConfig& config) {
    return copyBits<Hidl::ControllerLedConfig>(config);
}

Hidl::ThumbstickADCRange intoHidl(const ThumbstickADCRange& range) {
    return copyBits<Hidl::ThumbstickADCRange>(range);
}

android::hardware::hidl_array<Hidl::SimpleHapticIntensity, 6> intoHidl(
    const std::array<SimpleHapticIntensity, 6>& steps) {
    return copyBits<android::hardware::hidl_array<Hidl::SimpleHapticIntensity, 6>>(steps);
}

Hidl::SecureHostInfo intoHidl(const SecureHostInfo& info) {
    return {info.hostId, info.key};
}

Hidl::SecureDeviceInfo intoHidl(const SecureDeviceInfo& info) {
    return {intoHidl(info.address), info.deviceId, info.key};
}

Hidl::PoseOutput intoHidl(const PoseOutput& pose) {
    return copyBits<Hidl::PoseOutput>(pose);
}

}  // namespace Vek::Sensors::Convert
