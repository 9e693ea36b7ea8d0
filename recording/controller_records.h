// The fields of the records of the controllers' streams: `R` is the record in the client API's form
// or in the HAL's, whose members have the same names.
#pragma once

#include <fmt/format.h>

#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

#include "recording/field_words.h"
#include "recording/fields.h"

namespace Recording {

/// The address of a controller, which `reach` leads to, as text: 0x5a0000000001.
template <typename R, typename Reach>
Field<R> controller(Reach reach) {
    using Address = std::decay_t<decltype(reach(std::declval<R&>()))>;
    return computed<R>(
        "controller", "",
        [reach](const R& record) {
            if constexpr (std::is_enum_v<Address>) {
                return fmt::format("{:#x}", static_cast<uint64_t>(reach(record)));
            } else {
                return fmt::format("{:#x}", reach(record).address);
            }
        },
        [reach](R& record, const std::string& cell) {
            constexpr std::string_view kPrefix = "0x";
            uint64_t number = 0;
            const char* const end = cell.data() + cell.size();
            if (cell.compare(0, kPrefix.size(), kPrefix) != 0) {
                return false;
            }
            const auto result = std::from_chars(cell.data() + kPrefix.size(), end, number, 16);
            reach(record) = Address{number};
            return result.ec == std::errc() && result.ptr == end;
        });
}

template <typename R>
Field<R> controllerOfRecord() {
    return controller<R>([](auto& record) -> auto& { return record.controller; });
}

template <typename R>
Field<R> controllerOfHeader() {
    return controller<R>([](auto& record) -> auto& { return record.header.controller; });
}

/// A bit field of a touch point, which no pointer can lead to.
template <typename R, typename Get, typename Set>
Field<R> bits(const char* name, unsigned most, Get get, Set set) {
    return computed<R>(
        name, "", [get](const R& point) { return static_cast<unsigned>(get(point)); },
        [most, set](R& point, unsigned value) {
            set(point, static_cast<uint8_t>(value & most));
            return value <= most;
        });
}

template <typename R>
FieldList<R> controllerHeaderFields() {
    return {controllerOfRecord<R>(), number("timestamp", "ns", &R::timestamp),
            number("arrival_timestamp", "ns", &R::arrivalTimestamp),
            number("sequence", "", &R::sequence)};
}

template <typename R>
FieldList<R> touchPointFields() {
    return {bits<R>(
                "touching", 1, [](const R& p) { return p.touching; },
                [](R& p, uint8_t value) { p.touching = value & 1U; })
                .shownAs(wordsOfBits({{0, "touch"}})),
            bits<R>(
                "finger", 3, [](const R& p) { return p.finger; },
                [](R& p, uint8_t value) { p.finger = value & 3U; }),
            bits<R>(
                "pressed", 1, [](const R& p) { return p.pressed; },
                [](R& p, uint8_t value) { p.pressed = value & 1U; }),
            number("x", "", &R::x).shown(),
            number("y", "", &R::y).shown(),
            number("force", "", &R::force),
            number("major_axis", "", &R::majorAxis),
            number("minor_axis", "", &R::minorAxis)};
}

template <typename R>
FieldList<R> pairedControllerFields(const Words& connection, const Words& features) {
    return {controller<R>([](auto& record) -> auto& { return record.address; }),
            number("type", "", &R::type),
            number("hand", "", &R::hand),
            number("connection", "", &R::connection).shownAs(connection),
            number("battery_level", "%", &R::batteryLevel).shown(),
            number("battery_voltage", "V", &R::batteryVoltage).shown(2),
            number("features", "", &R::features).shownAs(features),
            number("temperature", "C", &R::temperature).shown(1),
            text("name", &R::name),
            text("model", &R::model),
            text("serial_number", &R::serialNumber),
            text("hardware_version", &R::hardwareVersion),
            text("firmware_version", &R::firmwareVersion),
            bytes("factory_calibration", &R::factoryCalibration)};
}

template <typename R>
FieldList<R> controllerImuFields() {
    return {controllerOfRecord<R>(),
            number("timestamp", "ns", &R::timestamp),
            number("arrival_timestamp", "ns", &R::arrivalTimestamp),
            number("temperature", "C", &R::temperature),
            number("sequence", "", &R::sequence),
            number("status", "", &R::status),
            number("controller_time", "us", &R::controllerTime),
            array("acceleration", kXyz, "m/s^2", &R::acceleration).shown(2),
            array("angular_rate", kXyz, "rad/s", &R::angularRate).shown(3)};
}

template <typename R>
FieldList<R> buttonFields(const Words& pressed) {
    return FieldList<R>(
        joined<R>({nested("", &R::header),
                   {number("pressed", "", &R::pressed).shownAs(pressed),
                    number("touched", "", &R::touched), number("approached", "", &R::approached),
                    number("trigger", "", &R::trigger).shown("trigger", 2),
                    number("grip", "", &R::grip).shown("grip", 2),
                    array("thumbstick", kXy, "", &R::thumbstick).shown("stick", 2)}}));
}

template <typename R>
FieldList<R> curlFields() {
    return {controllerOfHeader<R>(), number("sample_time", "s", &R::sampleTime),
            number("confidence", "", &R::confidence),
            array("", {"thumb", "index", "middle", "ring", "little"}, "", &R::curl).shown(2),
            array("splay", {"index_middle", "middle_ring", "ring_little"}, "", &R::splay)};
}

template <typename R>
FieldList<R> precisionPadFields() {
    return {controllerOfHeader<R>(),
            number("phase", "", &R::phase),
            array("", kXy, "", &R::position).shown(2),
            number("force", "N", &R::force).shown(2),
            number("contact_area", "mm^2", &R::contactArea),
            number("proximity", "mm", &R::proximity).shown()};
}

template <typename R>
FieldList<R> multiTouchFields() {
    return FieldList<R>(joined<R>({{controllerOfHeader<R>()}, each("{name}_{i}", &R::points)}));
}

template <typename R>
FieldList<R> stylusFields() {
    return {controllerOfHeader<R>(), number("pressure", "", &R::pressure).shown(2)};
}

template <typename R>
FieldList<R> controllerAdcFields() {
    return {controllerOfRecord<R>(), number("trigger", "", &R::trigger).shown("trigger"),
            number("grip", "", &R::grip).shown("grip"),
            number("thumbstick_x", "", &R::thumbstickX).shown("stick"),
            number("thumbstick_y", "", &R::thumbstickY).shown()};
}

template <typename R>
FieldList<R> poseInputFields() {
    const Axes variances{"position_variance_x_m2",      "position_variance_y_m2",
                         "position_variance_z_m2",      "orientation_variance_x_rad2",
                         "orientation_variance_y_rad2", "orientation_variance_z_rad2"};
    return {controllerOfRecord<R>(),
            number("timestamp", "ns", &R::timestamp),
            number("status", "", &R::status),
            number("sequence", "", &R::sequence),
            array("position", kXyz, "m", &R::position).shown(3),
            array("orientation", kXyzw, "", &R::orientation).shown(3),
            array("linear_velocity", kXyz, "m/s", &R::linearVelocity),
            array("angular_velocity", kXyz, "rad/s", &R::angularVelocity),
            array("linear_acceleration", kXyz, "m/s^2", &R::linearAcceleration),
            array("angular_acceleration", kXyz, "rad/s^2", &R::angularAcceleration),
            array("", variances, "", &R::variance),
            array("gravity", kXyz, "m/s^2", &R::gravity)};
}

template <typename R>
FieldList<R> collisionFields() {
    return {controllerOfRecord<R>(),
            number("timestamp", "ns", &R::timestamp),
            number("peak_acceleration", "m/s^2", &R::peakAcceleration).shown(1),
            number("duration", "ms", &R::duration).shown(1),
            number("sequence", "", &R::sequence),
            number("kind", "", &R::kind),
            number("confidence", "", &R::confidence),
            array("direction", kXyz, "", &R::direction)};
}

template <typename R>
FieldList<R> wirelessStatsFields() {
    return {controllerOfRecord<R>(),
            number("timestamp", "ns", &R::timestamp),
            number("packets_received", "", &R::packetsReceived).shown("packets"),
            number("packets_lost", "", &R::packetsLost).shown("lost"),
            number("retransmissions", "", &R::retransmissions),
            number("frequency", "MHz", &R::frequency).shown(),
            number("signal_strength", "dBm", &R::signalStrength).shown(),
            number("transmit_power", "dBm", &R::transmitPower),
            number("latency", "us", &R::latency),
            number("data_rate", "bit/s", &R::dataRate)};
}

}  // namespace Recording
