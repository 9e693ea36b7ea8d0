// Converts what control calls exchange.
#include "controller/convert.h"

#include "foundation/same_layout.h"

namespace Vek::Sensors::Convert {

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
    return {intoHidl(info.address), info.deviceId, info.key};
}

Hidl::PoseOutput intoHidl(const PoseOutput& pose) {
    return copyBits<Hidl::PoseOutput>(pose);
}

}  // namespace Vek::Sensors::Convert
