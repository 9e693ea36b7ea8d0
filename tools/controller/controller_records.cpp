// The texts of records, field by field.
#include "controller/controller_records.h"

#include <vek/sensors/motion.h>

#include <iterator>

#include "controller/controller_text.h"

using namespace Vek::Sensors;

namespace {

template <typename... Values>
void append(fmt::memory_buffer& out, const char* format, const Values&... values) {
    fmt::format_to(std::back_inserter(out), fmt::runtime(format), values...);
}

/// Each behind a comma.
template <typename Numbers>
void appendAll(fmt::memory_buffer& out, const Numbers& numbers) {
    append(out, ",{}", fmt::join(numbers, ","));
}

/// In quotation marks, behind a comma; those in the text are doubled.
template <size_t Size>
void appendText(fmt::memory_buffer& out, const ControllerText<Size>& field) {
    std::string quoted = ",\"";
    for (const char c : text(field)) {
        quoted += c == '"' ? "\"\"" : std::string(1, c);
    }
    append(out, "{}\"", quoted);
}

void appendHeader(fmt::memory_buffer& out, const ControllerSampleHeader& header) {
    append(out, "{},{},{},{}", text(header.controller), header.timestamp, header.arrivalTimestamp,
           header.sequence);
}

std::string names(const std::bitset<kControllerButtons>& buttons) {
    constexpr const char* kNames[kControllerButtons] = {"trigger",    "grip",    "menu",     "home",
                                                        "thumbstick", "primary", "secondary"};
    std::string list;
    for (size_t i = 0; i < kControllerButtons; ++i) {
        list += buttons[i] ? (list.empty() ? "" : "+") + std::string(kNames[i]) : "";
    }
    return list.empty() ? "-" : list;
}

#define SAMPLE_HEADER_TITLES "controller,timestamp_ns,arrival_timestamp_ns,sequence,"

}  // namespace

const char* const RecordFormat<PairedControllerInfo>::kCsvTitles =
    "controller,type,hand,connection,battery_level_percent,battery_voltage_v,features,"
    "temperature_c,name,model,serial_number,hardware_version,firmware_version,"
    "factory_calibration";
const char* const RecordFormat<ControllerImuData>::kCsvTitles =
    "controller,timestamp_ns,arrival_timestamp_ns,temperature_c,sequence,status,"
    "controller_time_us,acceleration_x_m_s2,acceleration_y_m_s2,acceleration_z_m_s2,"
    "angular_rate_x_rad_s,angular_rate_y_rad_s,angular_rate_z_rad_s";
const char* const RecordFormat<ButtonData>::kCsvTitles =
    SAMPLE_HEADER_TITLES "pressed,touched,approached,trigger,grip,thumbstick_x,thumbstick_y";
const char* const RecordFormat<CurlData>::kCsvTitles =
    "controller,sample_time_s,confidence,thumb,index,middle,ring,little,splay_index_middle,"
    "splay_middle_ring,splay_ring_little";
const char* const RecordFormat<PrecisionPadData>::kCsvTitles =
    "controller,phase,x,y,force_n,contact_area_mm2,proximity_mm";
const char* const RecordFormat<MultiTouchData>::kCsvTitles =
    "controller,"
    "touching_0,finger_0,pressed_0,x_0,y_0,force_0,major_axis_0,minor_axis_0,"
    "touching_1,finger_1,pressed_1,x_1,y_1,force_1,major_axis_1,minor_axis_1,"
    "touching_2,finger_2,pressed_2,x_2,y_2,force_2,major_axis_2,minor_axis_2,"
    "touching_3,finger_3,pressed_3,x_3,y_3,force_3,major_axis_3,minor_axis_3";
const char* const RecordFormat<StylusData>::kCsvTitles = "controller,pressure";
const char* const RecordFormat<ControllerInputADCData>::kCsvTitles =
    "controller,trigger,grip,thumbstick_x,thumbstick_y";
const char* const RecordFormat<PoseInput>::kCsvTitles =
    "controller,timestamp_ns,status,sequence,position_x_m,position_y_m,position_z_m,"
    "orientation_x,orientation_y,orientation_z,orientation_w,linear_velocity_x_m_s,"
    "linear_velocity_y_m_s,linear_velocity_z_m_s,angular_velocity_x_rad_s,"
    "angular_velocity_y_rad_s,angular_velocity_z_rad_s,linear_acceleration_x_m_s2,"
    "linear_acceleration_y_m_s2,linear_acceleration_z_m_s2,angular_acceleration_x_rad_s2,"
    "angular_acceleration_y_rad_s2,angular_acceleration_z_rad_s2,position_variance_x_m2,"
    "position_variance_y_m2,position_variance_z_m2,orientation_variance_x_rad2,"
    "orientation_variance_y_rad2,orientation_variance_z_rad2,gravity_x_m_s2,gravity_y_m_s2,"
    "gravity_z_m_s2";
const char* const RecordFormat<ControllerCollisionEvent>::kCsvTitles =
    "controller,timestamp_ns,peak_acceleration_m_s2,duration_ms,sequence,kind,confidence,"
    "direction_x,direction_y,direction_z";
const char* const RecordFormat<WirelessDeviceStats>::kCsvTitles =
    "controller,timestamp_ns,packets_received,packets_lost,retransmissions,frequency_mhz,"
    "signal_strength_dbm,transmit_power_dbm,latency_us,data_rate_bit_s";

std::optional<SampleHeader> RecordFormat<ControllerImuData>::header(
    const ControllerImuData& record) {
    return SampleHeader{record.timestamp, record.sequence,
                        (record.status & MOTION_SAMPLE_DISCONTINUITY) != 0,
                        static_cast<uint64_t>(record.controller)};
}
std::optional<SampleHeader> RecordFormat<ButtonData>::header(const ButtonData& record) {
    // The lower half counts on as well as the whole.
    return SampleHeader{record.header.timestamp, static_cast<uint32_t>(record.header.sequence),
                        false, static_cast<uint64_t>(record.header.controller)};
}
std::optional<SampleHeader> RecordFormat<PoseInput>::header(const PoseInput& record) {
    return SampleHeader{record.timestamp, record.sequence, false,
                        static_cast<uint64_t>(record.controller)};
}
std::optional<SampleHeader> RecordFormat<ControllerCollisionEvent>::header(
    const ControllerCollisionEvent& record) {
    return SampleHeader{record.timestamp, record.sequence, false,
                        static_cast<uint64_t>(record.controller)};
}

std::string RecordFormat<PairedControllerInfo>::describe(const PairedControllerInfo& record) {
    return fmt::format("{}  {}  {} %  {:.2f} V  {:.1f} C{}", text(record.address),
                       text(record.connection), record.batteryLevel, record.batteryVoltage,
                       record.temperature,
                       record.features[CONTROLLER_FEATURE_UPDATING] ? "  updating" : "");
}

std::string RecordFormat<ControllerImuData>::describe(const ControllerImuData& record) {
    const auto& a = record.acceleration;
    const auto& w = record.angularRate;
    return fmt::format("{}  {:.2f} {:.2f} {:.2f} m/s^2  {:.3f} {:.3f} {:.3f} rad/s",
                       text(record.controller), a[0], a[1], a[2], w[0], w[1], w[2]);
}

std::string RecordFormat<ButtonData>::describe(const ButtonData& record) {
    return fmt::format("{}  {}  trigger {:.2f}  grip {:.2f}  stick {:.2f} {:.2f}",
                       text(record.header.controller), names(record.pressed), record.trigger,
                       record.grip, record.thumbstick[0], record.thumbstick[1]);
}

std::string RecordFormat<CurlData>::describe(const CurlData& record) {
    return fmt::format("{}  {:.2f}", text(record.header.controller), fmt::join(record.curl, " "));
}

std::string RecordFormat<PrecisionPadData>::describe(const PrecisionPadData& record) {
    return fmt::format("{}  {:.2f} {:.2f}  {:.2f} N  {} mm", text(record.header.controller),
                       record.position[0], record.position[1], record.force, record.proximity);
}

std::string RecordFormat<MultiTouchData>::describe(const MultiTouchData& record) {
    std::string description = text(record.header.controller);
    for (const TouchPoint& point : record.points) {
        if (point.touching != 0) {
            description += fmt::format("  {} {}", point.x, point.y);
        }
    }
    return description;
}

std::string RecordFormat<StylusData>::describe(const StylusData& record) {
    return fmt::format("{}  {:.2f}", text(record.header.controller), record.pressure);
}

std::string RecordFormat<ControllerInputADCData>::describe(const ControllerInputADCData& record) {
    return fmt::format("{}  trigger {}  grip {}  stick {} {}", text(record.controller),
                       record.trigger, record.grip, record.thumbstickX, record.thumbstickY);
}

std::string RecordFormat<PoseInput>::describe(const PoseInput& record) {
    return fmt::format("{}  {:.3f} m  {:.3f}", text(record.controller),
                       fmt::join(record.position, " "), fmt::join(record.orientation, " "));
}

std::string RecordFormat<ControllerCollisionEvent>::describe(
    const ControllerCollisionEvent& record) {
    return fmt::format("{}  {:.1f} m/s^2  {:.1f} ms", text(record.controller),
                       record.peakAcceleration, record.duration);
}

std::string RecordFormat<WirelessDeviceStats>::describe(const WirelessDeviceStats& record) {
    return fmt::format("{}  {} MHz  {} dBm  {} packets  {} lost", text(record.controller),
                       record.frequency, record.signalStrength, record.packetsReceived,
                       record.packetsLost);
}

void RecordFormat<PairedControllerInfo>::appendCsv(fmt::memory_buffer& out,
                                                   const PairedControllerInfo& record) {
    append(out, "{},{},{},{},{},{},{},{}", text(record.address), static_cast<uint32_t>(record.type),
           static_cast<uint8_t>(record.hand), static_cast<uint8_t>(record.connection),
           record.batteryLevel, record.batteryVoltage, record.features.to_ulong(),
           record.temperature);
    appendText(out, record.name);
    appendText(out, record.model);
    appendText(out, record.serialNumber);
    appendText(out, record.hardwareVersion);
    appendText(out, record.firmwareVersion);
    append(out, ",{:02x}", fmt::join(record.factoryCalibration, ""));
}

void RecordFormat<ControllerImuData>::appendCsv(fmt::memory_buffer& out,
                                                const ControllerImuData& record) {
    append(out, "{},{},{},{},{},{},{}", text(record.controller), record.timestamp,
           record.arrivalTimestamp, record.temperature, record.sequence, record.status,
           record.controllerTime);
    appendAll(out, record.acceleration);
    appendAll(out, record.angularRate);
}

void RecordFormat<ButtonData>::appendCsv(fmt::memory_buffer& out, const ButtonData& record) {
    appendHeader(out, record.header);
    append(out, ",{},{},{},{},{}", record.pressed.to_ulong(), record.touched.to_ulong(),
           record.approached.to_ulong(), record.trigger, record.grip);
    appendAll(out, record.thumbstick);
}

void RecordFormat<CurlData>::appendCsv(fmt::memory_buffer& out, const CurlData& record) {
    append(out, "{},{},{}", text(record.header.controller), record.sampleTime, record.confidence);
    appendAll(out, record.curl);
    appendAll(out, record.splay);
}

void RecordFormat<PrecisionPadData>::appendCsv(fmt::memory_buffer& out,
                                               const PrecisionPadData& record) {
    append(out, "{},{},{},{},{},{},{}", text(record.header.controller),
           static_cast<uint8_t>(record.phase), record.position[0], record.position[1], record.force,
           record.contactArea, record.proximity);
}

void RecordFormat<MultiTouchData>::appendCsv(fmt::memory_buffer& out,
                                             const MultiTouchData& record) {
    append(out, "{}", text(record.header.controller));
    for (const TouchPoint& point : record.points) {
        const unsigned flags[] = {point.touching, point.finger, point.pressed};
        append(out, ",{},{},{},{},{},{}", fmt::join(flags, ","), point.x, point.y, point.force,
               point.majorAxis, point.minorAxis);
    }
}

void RecordFormat<StylusData>::appendCsv(fmt::memory_buffer& out, const StylusData& record) {
    append(out, "{},{}", text(record.header.controller), record.pressure);
}

void RecordFormat<ControllerInputADCData>::appendCsv(fmt::memory_buffer& out,
                                                     const ControllerInputADCData& record) {
    append(out, "{},{},{},{},{}", text(record.controller), record.trigger, record.grip,
           record.thumbstickX, record.thumbstickY);
}

void RecordFormat<PoseInput>::appendCsv(fmt::memory_buffer& out, const PoseInput& record) {
    append(out, "{},{},{},{}", text(record.controller), record.timestamp, record.status,
           record.sequence);
    appendAll(out, record.position);
    appendAll(out, record.orientation);
    appendAll(out, record.linearVelocity);
    appendAll(out, record.angularVelocity);
    appendAll(out, record.linearAcceleration);
    appendAll(out, record.angularAcceleration);
    appendAll(out, record.variance);
    appendAll(out, record.gravity);
}

void RecordFormat<ControllerCollisionEvent>::appendCsv(fmt::memory_buffer& out,
                                                       const ControllerCollisionEvent& record) {
    append(out, "{},{},{},{},{},{},{}", text(record.controller), record.timestamp,
           record.peakAcceleration, record.duration, record.sequence,
           static_cast<uint32_t>(record.kind), record.confidence);
    appendAll(out, record.direction);
}

void RecordFormat<WirelessDeviceStats>::appendCsv(fmt::memory_buffer& out,
                                                  const WirelessDeviceStats& record) {
    append(out, "{},{},{},{},{},{},{},{},{},{}", text(record.controller), record.timestamp,
           record.packetsReceived, record.packetsLost, record.retransmissions, record.frequency,
           record.signalStrength, record.transmitPower, record.latency, record.dataRate);
}
