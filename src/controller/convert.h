// Controller records between the HAL's form and the API's, and which of them a stream converts.
#pragma once

#include <vek/sensors/controller.h>
#include <vek/sensors/controller_state.h>
#include <vendor/zelvan/hardware/sensors/1.0/IControllerManagementClient.h>

#include <array>

#include "foundation/hal.h"
#include "stream/record_conversion.h"

namespace Vek::Sensors {
namespace Convert {

PairedControllerInfo fromHidl(const Hidl::PairedControllerInfo& info);
AdvertisingControllerInfo fromHidl(const Hidl::AdvertisingControllerInfo& info);

/// Of all that a header holds, only the buttons' conversion keeps more than the first word.
ButtonData fromHidl(const Hidl::ButtonData& data);
CurlData fromHidl(const Hidl::CurlData& data);
PrecisionPadData fromHidl(const Hidl::PrecisionPadData& data);
MultiTouchData fromHidl(const Hidl::MultiTouchData& data);
StylusData fromHidl(const Hidl::StylusData& data);

/// Ends the process if the service has written a discriminator that there is not.
ControllerInputData fromHidl(const Hidl::ControllerInputData& data);

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

/// The callback object that it makes lives as long as the service holds it.
Hidl::IControllerManagementClient::FWUpdateCallbackConfig intoHidl(
    const IControllerManagementClient::FWUpdateCallbackConfig& config);

}  // namespace Convert

namespace HidlWrapper {

template <typename Data, typename HidlData, size_t FixedRecords>
struct ConvertedRecord {
    static constexpr size_t kFixedRecords = FixedRecords;
    static Data convert(const HidlData& record) { return Convert::fromHidl(record); }
};

// Changes of state are rare, and large.
template <>
struct RecordConversion<PairedControllerInfo>
    : ConvertedRecord<PairedControllerInfo, Hidl::PairedControllerInfo, 2> {};
template <>
struct RecordConversion<ButtonData> : ConvertedRecord<ButtonData, Hidl::ButtonData, 8> {};
template <>
struct RecordConversion<CurlData> : ConvertedRecord<CurlData, Hidl::CurlData, 8> {};
template <>
struct RecordConversion<PrecisionPadData>
    : ConvertedRecord<PrecisionPadData, Hidl::PrecisionPadData, 8> {};
template <>
struct RecordConversion<MultiTouchData> : ConvertedRecord<MultiTouchData, Hidl::MultiTouchData, 8> {
};
template <>
struct RecordConversion<StylusData> : ConvertedRecord<StylusData, Hidl::StylusData, 8> {};
template <>
struct RecordConversion<ControllerInputData>
    : ConvertedRecord<ControllerInputData, Hidl::ControllerInputData, 8> {};

}  // namespace HidlWrapper
}  // namespace Vek::Sensors
