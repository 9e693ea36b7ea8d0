// In the order of the columns.
#include "controller/controller_fields.h"

#include <vek/sensors/motion.h>

#include <charconv>
#include <cstdint>
#include <string>
#include <vector>

#include "controller/controller_text.h"
#include "field_words.h"

using namespace Vek::Sensors;

namespace {

using Recording::Field;

/// The address that a member leads to, as text.
template <typename Record, typename Member>
Field<Record> controller(Member address) {
    return Recording::computed<Record>(
        "controller", "", [address](const Record& record) { return text(address(record)); },
        [address](Record& record, const std::string& cell) {
            uint64_t number = 0;
            const char* const end = cell.data() + cell.size();
            const bool isHex = cell.rfind("0x", 0) == 0 &&
                               std::from_chars(cell.data() + 2, end, number, 16).ptr == end;
            const_cast<ControllerAddr&>(address(record)) = ControllerAddr{number};
            return isHex;
        });
}

template <typename Record>
Field<Record> controllerOfRecord() {
    return controller<Record>([](const Record& record) -> auto& { return record.controller; });
}

template <typename Record>
Field<Record> controllerOfHeader() {
    return controller<Record>(
        [](const Record& record) -> auto& { return record.header.controller; });
}

const Words kConnection =
    wordOf<ControllerConnection>([](ControllerConnection connection) { return text(connection); });
const Words kUpdating = wordsOfBits({{CONTROLLER_FEATURE_UPDATING, "updating"}});
const Words kTouching = wordsOfBits({{0, "touch"}});
const Words kButtons = wordsOfBits({{CONTROLLER_BUTTON_TRIGGER, "trigger"},
                                    {CONTROLLER_BUTTON_GRIP, "grip"},
                                    {CONTROLLER_BUTTON_MENU, "menu"},
                                    {CONTROLLER_BUTTON_HOME, "home"},
                                    {CONTROLLER_BUTTON_THUMBSTICK, "thumbstick"},
                                    {CONTROLLER_BUTTON_PRIMARY, "primary"},
                                    {CONTROLLER_BUTTON_SECONDARY, "secondary"}});

/// Of records that come without times and numbers.
RecordOrigin unnumbered(ControllerAddr controller) {
    RecordOrigin origin;
    origin.source = static_cast<uint64_t>(controller);
    return origin;
}

/// A bit field of a touch point, which no pointer can lead to.
template <typename Get, typename Set>
Field<TouchPoint> bits(const char* name, unsigned most, Get get, Set set) {
    return Recording::computed<TouchPoint>(
        name, "", [get](const TouchPoint& point) { return static_cast<unsigned>(get(point)); },
        [most, set](TouchPoint& point, unsigned value) {
            set(point, static_cast<uint8_t>(value & most));
            return value <= most;
        });
}

}  // namespace

template <>
struct Recording::Fields<ControllerSampleHeader> {
    static FieldList<ControllerSampleHeader> list() {
        using Data = ControllerSampleHeader;
        return {controllerOfRecord<Data>(), number("timestamp", "ns", &Data::timestamp),
                number("arrival_timestamp", "ns", &Data::arrivalTimestamp),
                number("sequence", "", &Data::sequence)};
    }
};

template <>
struct Recording::Fields<TouchPoint> {
    static FieldList<TouchPoint> list() {
        using Data = TouchPoint;
        return {bits(
                    "touching", 1, [](const Data& p) { return p.touching; },
                    [](Data& p, uint8_t value) { p.touching = value & 1U; })
                    .shownAs(kTouching),
                bits(
                    "finger", 3, [](const Data& p) { return p.finger; },
                    [](Data& p, uint8_t value) { p.finger = value & 3U; }),
                bits(
                    "pressed", 1, [](const Data& p) { return p.pressed; },
                    [](Data& p, uint8_t value) { p.pressed = value & 1U; }),
                number("x", "", &Data::x).shown(),
                number("y", "", &Data::y).shown(),
                number("force", "", &Data::force),
                number("major_axis", "", &Data::majorAxis),
                number("minor_axis", "", &Data::minorAxis)};
    }
};

namespace Recording {

FieldList<PairedControllerInfo> Fields<PairedControllerInfo>::list() {
    using Data = PairedControllerInfo;
    return {controller<Data>([](const Data& record) -> auto& { return record.address; }),
            number("type", "", &Data::type),
            number("hand", "", &Data::hand),
            number("connection", "", &Data::connection).shownAs(kConnection),
            number("battery_level", "%", &Data::batteryLevel).shown(),
            number("battery_voltage", "V", &Data::batteryVoltage).shown(2),
            number("features", "", &Data::features).shownAs(kUpdating),
            number("temperature", "C", &Data::temperature).shown(1),
            Recording::text("name", &Data::name),
            Recording::text("model", &Data::model),
            Recording::text("serial_number", &Data::serialNumber),
            Recording::text("hardware_version", &Data::hardwareVersion),
            Recording::text("firmware_version", &Data::firmwareVersion),
            bytes("factory_calibration", &Data::factoryCalibration)};
}

FieldList<ControllerImuData> Fields<ControllerImuData>::list() {
    using Data = ControllerImuData;
    return {controllerOfRecord<Data>(),
            number("timestamp", "ns", &Data::timestamp),
            number("arrival_timestamp", "ns", &Data::arrivalTimestamp),
            number("temperature", "C", &Data::temperature),
            number("sequence", "", &Data::sequence),
            number("status", "", &Data::status),
            number("controller_time", "us", &Data::controllerTime),
            array("acceleration", kXyz, "m/s^2", &Data::acceleration).shown(2),
            array("angular_rate", kXyz, "rad/s", &Data::angularRate).shown(3)};
}

FieldList<ButtonData> Fields<ButtonData>::list() {
    using Data = ButtonData;
    return FieldList<Data>(joined<Data>(
        {nested("", &Data::header),
         {number("pressed", "", &Data::pressed).shownAs(kButtons),
          number("touched", "", &Data::touched), number("approached", "", &Data::approached),
          number("trigger", "", &Data::trigger).shown("trigger", 2),
          number("grip", "", &Data::grip).shown("grip", 2),
          array("thumbstick", kXy, "", &Data::thumbstick).shown("stick", 2)}}));
}

FieldList<CurlData> Fields<CurlData>::list() {
    using Data = CurlData;
    return {controllerOfHeader<Data>(), number("sample_time", "s", &Data::sampleTime),
            number("confidence", "", &Data::confidence),
            array("", {"thumb", "index", "middle", "ring", "little"}, "", &Data::curl).shown(2),
            array("splay", {"index_middle", "middle_ring", "ring_little"}, "", &Data::splay)};
}

FieldList<PrecisionPadData> Fields<PrecisionPadData>::list() {
    using Data = PrecisionPadData;
    return {controllerOfHeader<Data>(),
            number("phase", "", &Data::phase),
            array("", kXy, "", &Data::position).shown(2),
            number("force", "N", &Data::force).shown(2),
            number("contact_area", "mm^2", &Data::contactArea),
            number("proximity", "mm", &Data::proximity).shown()};
}

FieldList<MultiTouchData> Fields<MultiTouchData>::list() {
    using Data = MultiTouchData;
    return FieldList<Data>(
        joined<Data>({{controllerOfHeader<Data>()}, each("{name}_{i}", &Data::points)}));
}

FieldList<StylusData> Fields<StylusData>::list() {
    return {controllerOfHeader<StylusData>(),
            number("pressure", "", &StylusData::pressure).shown(2)};
}

FieldList<ControllerInputADCData> Fields<ControllerInputADCData>::list() {
    using Data = ControllerInputADCData;
    return {controllerOfRecord<Data>(), number("trigger", "", &Data::trigger).shown("trigger"),
            number("grip", "", &Data::grip).shown("grip"),
            number("thumbstick_x", "", &Data::thumbstickX).shown("stick"),
            number("thumbstick_y", "", &Data::thumbstickY).shown()};
}

FieldList<PoseInput> Fields<PoseInput>::list() {
    using Data = PoseInput;
    const Axes variances{"position_variance_x_m2",      "position_variance_y_m2",
                         "position_variance_z_m2",      "orientation_variance_x_rad2",
                         "orientation_variance_y_rad2", "orientation_variance_z_rad2"};
    return {controllerOfRecord<Data>(),
            number("timestamp", "ns", &Data::timestamp),
            number("status", "", &Data::status),
            number("sequence", "", &Data::sequence),
            array("position", kXyz, "m", &Data::position).shown(3),
            array("orientation", kXyzw, "", &Data::orientation).shown(3),
            array("linear_velocity", kXyz, "m/s", &Data::linearVelocity),
            array("angular_velocity", kXyz, "rad/s", &Data::angularVelocity),
            array("linear_acceleration", kXyz, "m/s^2", &Data::linearAcceleration),
            array("angular_acceleration", kXyz, "rad/s^2", &Data::angularAcceleration),
            array("", variances, "", &Data::variance),
            array("gravity", kXyz, "m/s^2", &Data::gravity)};
}

FieldList<ControllerCollisionEvent> Fields<ControllerCollisionEvent>::list() {
    using Data = ControllerCollisionEvent;
    return {controllerOfRecord<Data>(),
            number("timestamp", "ns", &Data::timestamp),
            number("peak_acceleration", "m/s^2", &Data::peakAcceleration).shown(1),
            number("duration", "ms", &Data::duration).shown(1),
            number("sequence", "", &Data::sequence),
            number("kind", "", &Data::kind),
            number("confidence", "", &Data::confidence),
            array("direction", kXyz, "", &Data::direction)};
}

FieldList<WirelessDeviceStats> Fields<WirelessDeviceStats>::list() {
    using Data = WirelessDeviceStats;
    return {controllerOfRecord<Data>(),
            number("timestamp", "ns", &Data::timestamp),
            number("packets_received", "", &Data::packetsReceived).shown("packets"),
            number("packets_lost", "", &Data::packetsLost).shown("lost"),
            number("retransmissions", "", &Data::retransmissions),
            number("frequency", "MHz", &Data::frequency).shown(),
            number("signal_strength", "dBm", &Data::signalStrength).shown(),
            number("transmit_power", "dBm", &Data::transmitPower),
            number("latency", "us", &Data::latency),
            number("data_rate", "bit/s", &Data::dataRate)};
}

}  // namespace Recording

RecordOrigin originOf(const PairedControllerInfo& record) {
    return unnumbered(record.address);
}
RecordOrigin originOf(const ControllerImuData& record) {
    return {static_cast<uint64_t>(record.controller), record.timestamp, record.sequence,
            (record.status & MOTION_SAMPLE_DISCONTINUITY) != 0};
}
RecordOrigin originOf(const ButtonData& record) {
    // The lower half of the number counts on as well as the whole.
    return {static_cast<uint64_t>(record.header.controller), record.header.timestamp,
            static_cast<uint32_t>(record.header.sequence), false};
}
RecordOrigin originOf(const CurlData& record) {
    return unnumbered(record.header.controller);
}
RecordOrigin originOf(const PrecisionPadData& record) {
    return unnumbered(record.header.controller);
}
RecordOrigin originOf(const MultiTouchData& record) {
    return unnumbered(record.header.controller);
}
RecordOrigin originOf(const StylusData& record) {
    return unnumbered(record.header.controller);
}
RecordOrigin originOf(const ControllerInputADCData& record) {
    return unnumbered(record.controller);
}
RecordOrigin originOf(const PoseInput& record) {
    return {static_cast<uint64_t>(record.controller), record.timestamp, record.sequence, false};
}
RecordOrigin originOf(const ControllerCollisionEvent& record) {
    return {static_cast<uint64_t>(record.controller), record.timestamp, record.sequence, false};
}
RecordOrigin originOf(const WirelessDeviceStats& record) {
    RecordOrigin origin = unnumbered(record.controller);
    origin.timestamp = record.timestamp;
    return origin;
}
