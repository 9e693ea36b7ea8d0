// Converts the records of the controllers' streams, field by field. The small conversions are
// inline, so that the loop over a batch makes no call per record.
//
// An API record starts as `Record()`, which, unlike `Record{}`, also zeroes the padding. So the
// bytes that a client gets depend only on what the service wrote.
#pragma once

#include <vek/sensors/controller_records.h>

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "foundation/hal.h"
#include "stream/record_conversion.h"

namespace Vek::Sensors {
namespace Convert {

/// A bounded copy: stops at the first zero byte and fills the rest with zeros. A text that fills
/// its field has no terminating zero.
template <size_t Size>
void copyText(ControllerText<Size>& to, const android::hardware::hidl_array<uint8_t, Size>& from) {
    std::strncpy(to.data(), reinterpret_cast<const char*>(from.data()), Size);
}

inline ControllerAddr fromHidl(Hidl::ControllerAddr controller) {
    return ControllerAddr{controller.address};
}

/// Silently drops bits beyond the size of the set.
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

PairedControllerInfo fromHidl(const Hidl::PairedControllerInfo& info);

/// The only conversion that keeps more than the first word of the header.
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

/// Ends the process if the service has written an unknown discriminator.
ControllerInputData fromHidl(const Hidl::ControllerInputData& record);

}  // namespace Convert

namespace HidlWrapper {

template <typename Data, typename HidlData, size_t FixedRecords>
struct ConvertedRecord {
    static constexpr size_t kFixedRecords = FixedRecords;
    static Data convert(const HidlData& record) { return Convert::fromHidl(record); }
};

// State changes are rare and their records are large.
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
