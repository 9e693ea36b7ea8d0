// Converts the records of the controllers' streams, field by field; in a header, so that the loop
// over a batch writes the fields where they are to be, without a call and a copy for each record.
//
// An API record starts as `Record()`: that, unlike `Record{}`, zeroes the bytes between the fields
// too, so that what a client gets depends on nothing but what the service wrote.
#pragma once

#include <vek/sensors/controller_records.h>

#include <array>
#include <cstddef>
#include <cstring>

#include "foundation/hal.h"
#include "foundation/log.h"
#include "stream/record_conversion.h"

namespace Vek::Sensors {
namespace Convert {

/// A bounded copy: stops at the first zero, fills up with zeros, and leaves a text that fills its
/// field without one.
template <size_t Size>
void copyText(ControllerText<Size>& to, const android::hardware::hidl_array<uint8_t, Size>& from) {
    std::strncpy(to.data(), reinterpret_cast<const char*>(from.data()), Size);
}

inline ControllerAddr fromHidl(Hidl::ControllerAddr controller) {
    return ControllerAddr{controller.address};
}

/// Bits above the set's are dropped, not reported.
template <size_t Flags>
void copyFlags(std::bitset<Flags>& to, uint32_t from) {
    to = std::bitset<Flags>{from};
}

inline TouchPoint fromHidl(const Hidl::TouchPoint& point) {
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

inline PairedControllerInfo fromHidl(const Hidl::PairedControllerInfo& info) {
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

/// Of all that a header holds, only the buttons' conversion keeps more than the first word.
inline ButtonData fromHidl(const Hidl::ButtonData& data) {
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

inline CurlData fromHidl(const Hidl::CurlData& data) {
    auto result = CurlData();
    result.header.controller = fromHidl(data.header.controller);
    result.curl = data.curl;
    result.splay = data.splay;
    result.sampleTime = data.sampleTime;
    result.confidence = data.confidence;
    return result;
}

inline PrecisionPadData fromHidl(const Hidl::PrecisionPadData& data) {
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

inline MultiTouchData fromHidl(const Hidl::MultiTouchData& data) {
    auto result = MultiTouchData();
    result.header.controller = fromHidl(data.header.controller);
    for (size_t i = 0; i < result.points.size(); ++i) {
        result.points[i] = fromHidl(data.points[i]);
    }
    return result;
}

inline StylusData fromHidl(const Hidl::StylusData& data) {
    auto result = StylusData();
    result.header.controller = fromHidl(data.header.controller);
    result.pressure = data.pressure;
    return result;
}

/// Ends the process if the service has written a discriminator that there is not.
inline ControllerInputData fromHidl(const Hidl::ControllerInputData& record) {
    using Input = Hidl::ControllerInputData;
    using Discriminator = Input::hidl_discriminator;
    // The service may change the record meanwhile, and the accessors end the process if the
    // discriminator is not the one that was looked at.
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
