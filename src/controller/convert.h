// Controller records between the HAL's form and the API's.
#pragma once

#include <vek/sensors/controller.h>
#include <vek/sensors/controller_state.h>
#include <vendor/zelvan/hardware/sensors/1.0/IControllerManagementClient.h>

#include <array>

#include "controller/convert_records.h"
#include "foundation/hal.h"

namespace Vek::Sensors::Convert {

AdvertisingControllerInfo fromHidl(const Hidl::AdvertisingControllerInfo& info);
ControllerLedConfig fromHidl(const Hidl::ControllerLedConfig& config);
ThumbstickADCRange fromHidl(const Hidl::ThumbstickADCRange& range);
SecureHostInfo fromHidl(const Hidl::SecureHostInfo& info);

Hidl::ControllerAddr intoHidl(ControllerAddr controller);
Hidl::ControllerLedConfig intoHidl(const ControllerLedConfig& config);
Hidl::ThumbstickADCRange intoHidl(const ThumbstickADCRange& range);
android::hardware::hidl_array<Hidl::SimpleHapticIntensity, 6> intoHidl(
    const std::array<SimpleHapticIntensity, 6>& steps);
Hidl::SecureHostInfo intoHidl(const SecureHostInfo& info);
Hidl::SecureDeviceInfo intoHidl(const SecureDeviceInfo& info);
Hidl::PoseOutput intoHidl(const PoseOutput& pose);

/// The service owns the callback object that this makes.
Hidl::IControllerManagementClient::FWUpdateCallbackConfig intoHidl(
    const IControllerManagementClient::FWUpdateCallbackConfig& config);

}  // namespace Vek::Sensors::Convert
