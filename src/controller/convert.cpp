// Converts what control calls exchange, and the large records of streams.
#include "controller/convert.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "foundation/log.h"
#include "foundation/same_layout.h"

namespace Vek::Sensors::Convert {

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

ControllerInputData fromHidl(const Hidl::ControllerInputData& record) {
    using Input = Hidl::ControllerInputData;
    using Discriminator = Input::hidl_discriminator;
    // The service may change the record in the meantime, and the accessors end the process if the
    // discriminator is not the one that was read before. So convert a copy.
    alignas(Input) std::array<std::byte, sizeof(Input)> copy;
    std::memcpy(copy.data(), &record, sizeof(record));
    const Input& data = *reinterpret_cast<const Input*>(copy.data());
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

AdvertisingControllerInfo fromHidl(const Hidl::AdvertisingControllerInfo& info) {
    auto result = AdvertisingControllerInfo();
    result.type = static_cast<ControllerType>(info.type);
    result.address = fromHidl(info.address);
    copyText(result.name, info.name);
    result.productCode = info.productCode;
    result.features = info.features & ((1U << kControllerFeatures) - 1U);
    return result;
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
    auto result = Hidl::SecureDeviceInfo();  // zeroes the padding too: the service sees all bytes
    result.address = intoHidl(info.address);
    result.deviceId = info.deviceId;
    result.key = info.key;
    return result;
}

Hidl::PoseOutput intoHidl(const PoseOutput& pose) {
    return copyBits<Hidl::PoseOutput>(pose);
}

}  // namespace Vek::Sensors::Convert
