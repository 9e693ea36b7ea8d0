// One list for each kind of record, in the order of the recording's columns.
#include "replay/record_fields.h"

#include <fmt/format.h>

#include <charconv>
#include <string>
#include <string_view>
#include <vector>

namespace Recording {
namespace {

/// The address of a controller as text: 0x5a0000000001.
template <typename Record, typename Reach>
Field<Record> address(Reach reach) {
    return computed<Record>(
        "controller", "",
        [reach](const Record& record) {
            return fmt::format("{:#x}", reach(const_cast<Record&>(record)).address);
        },
        [reach](Record& record, const std::string& value) {
            constexpr std::string_view kPrefix = "0x";
            if (value.compare(0, kPrefix.size(), kPrefix) != 0) {
                return false;
            }
            const char* const end = value.data() + value.size();
            const auto result =
                std::from_chars(value.data() + kPrefix.size(), end, reach(record).address, 16);
            return result.ec == std::errc() && result.ptr == end;
        });
}

template <typename Record>
Field<Record> controller() {
    return address<Record>(
        [](Record& record) -> Hidl::ControllerAddr& { return record.controller; });
}

template <typename Record>
Field<Record> headerController() {
    return address<Record>(
        [](Record& record) -> Hidl::ControllerAddr& { return record.header.controller; });
}

template <typename Record>
std::vector<Field<Record>> times() {
    return {number("timestamp", "ns", &Record::timestamp),
            number("arrival_timestamp", "ns", &Record::arrivalTimestamp)};
}

}  // namespace

FieldList<Hidl::ImuData> Fields<Hidl::ImuData>::list() {
    using R = Hidl::ImuData;
    return FieldList<R>(joined<R>(
        {times<R>(),
         {array("acceleration", kXyz, "m/s^2", &R::acceleration),
          array("angular_rate", kXyz, "rad/s", &R::angularRate),
          number("temperature", "c", &R::temperature), number("sequence", "", &R::sequence),
          number("sensor", "", &R::sensor), number("status", "", &R::status),
          number("acceleration_range", "m/s^2", &R::accelerationRange),
          number("angular_rate_range", "rad/s", &R::angularRateRange)}}));
}

FieldList<Hidl::MagData> Fields<Hidl::MagData>::list() {
    using R = Hidl::MagData;
    return {number("timestamp", "ns", &R::timestamp),
            array("field", kXyz, "ut", &R::field),
            number("temperature", "c", &R::temperature),
            number("sequence", "", &R::sequence),
            number("sensor", "", &R::sensor),
            number("status", "", &R::status),
            number("range", "ut", &R::range)};
}

FieldList<Hidl::IadData> Fields<Hidl::IadData>::list() {
    return {number("distance", "mm", &Hidl::IadData::distance)};
}

FieldList<Hidl::FlickerPeak> Fields<Hidl::FlickerPeak>::list() {
    using R = Hidl::FlickerPeak;
    return {number("hz", "", &R::frequency), number("amplitude", "", &R::amplitude)};
}

FieldList<Hidl::FlickerData> Fields<Hidl::FlickerData>::list() {
    using R = Hidl::FlickerData;
    return FieldList<R>(joined<R>(
        {times<R>(),
         {number("sequence", "", &R::sequence), number("status", "", &R::status),
          number("frequency", "hz", &R::frequency), number("confidence", "", &R::confidence),
          number("modulation_depth", "", &R::modulationDepth),
          number("flicker_index", "", &R::flickerIndex), number("mean_level", "", &R::meanLevel),
          number("gain", "", &R::gain), number("sample_rate", "hz", &R::sampleRate),
          number("peak_count", "", &R::peakCount)},
         each("peak_{i}_{name}", &R::peaks)}));
}

FieldList<Hidl::AdcFlickerData> Fields<Hidl::AdcFlickerData>::list() {
    using R = Hidl::AdcFlickerData;
    return FieldList<R>(joined<R>(
        {times<R>(),
         {number("sequence", "", &R::sequence), number("status", "", &R::status),
          number("sample_rate", "hz", &R::sampleRate), number("sample_count", "", &R::sampleCount),
          Recording::list("samples", "", &R::samples, &R::sampleCount)}}));
}

FieldList<Hidl::AmbientLightData> Fields<Hidl::AmbientLightData>::list() {
    using R = Hidl::AmbientLightData;
    return FieldList<R>(joined<R>(
        {times<R>(),
         {number("sequence", "", &R::sequence), number("status", "", &R::status),
          number("illuminance", "lx", &R::illuminance),
          number("color_temperature", "k", &R::colorTemperature),
          array("chromaticity", kXy, "", &R::chromaticity),
          number("infrared", "w/m^2", &R::infrared),
          number("integration_time", "s", &R::integrationTime), number("gain", "", &R::gain),
          number("illuminance_range", "lx", &R::illuminanceRange),
          number("channel_count", "", &R::channelCount),
          number("saturated_channels", "", &R::saturatedChannels),
          array("channel", kNumbers, "", &R::channels)}}));
}

FieldList<Hidl::ExternalTimestampData> Fields<Hidl::ExternalTimestampData>::list() {
    using R = Hidl::ExternalTimestampData;
    return FieldList<R>(joined<R>(
        {times<R>(),
         {number("external_timestamp", "ns", &R::externalTimestamp),
          number("clock_rate", "", &R::clockRate), number("uncertainty", "ns", &R::uncertainty),
          number("sequence", "", &R::sequence), number("source", "", &R::source),
          number("status", "", &R::status)}}));
}

FieldList<Hidl::PairedControllerInfo> Fields<Hidl::PairedControllerInfo>::list() {
    using R = Hidl::PairedControllerInfo;
    return {address<R>([](R& record) -> Hidl::ControllerAddr& { return record.address; }),
            number("type", "", &R::type),
            number("hand", "", &R::hand),
            number("connection", "", &R::connection),
            number("battery_level", "percent", &R::batteryLevel),
            number("battery_voltage", "v", &R::batteryVoltage),
            number("features", "", &R::features),
            number("temperature", "c", &R::temperature),
            text("name", &R::name),
            text("model", &R::model),
            text("serial_number", &R::serialNumber),
            text("hardware_version", &R::hardwareVersion),
            text("firmware_version", &R::firmwareVersion),
            bytes("factory_calibration", &R::factoryCalibration)};
}

FieldList<Hidl::ControllerImuData> Fields<Hidl::ControllerImuData>::list() {
    using R = Hidl::ControllerImuData;
    return FieldList<R>(
        joined<R>({times<R>(),
                   {controller<R>(), number("temperature", "c", &R::temperature),
                    number("sequence", "", &R::sequence), number("status", "", &R::status),
                    number("controller_time", "us", &R::controllerTime),
                    array("acceleration", kXyz, "m/s^2", &R::acceleration),
                    array("angular_rate", kXyz, "rad/s", &R::angularRate)}}));
}

FieldList<Hidl::ButtonData> Fields<Hidl::ButtonData>::list() {
    using R = Hidl::ButtonData;
    using Header = Hidl::ControllerSampleHeader;
    const FieldList<Header> header{number("timestamp", "ns", &Header::timestamp),
                                   number("arrival_timestamp", "ns", &Header::arrivalTimestamp),
                                   number("sequence", "", &Header::sequence)};
    return FieldList<R>(
        joined<R>({{headerController<R>()},
                   nested("", &R::header, header),
                   {number("pressed", "", &R::pressed), number("touched", "", &R::touched),
                    number("approached", "", &R::approached), number("trigger", "", &R::trigger),
                    number("grip", "", &R::grip), array("thumbstick", kXy, "", &R::thumbstick)}}));
}

FieldList<Hidl::CurlData> Fields<Hidl::CurlData>::list() {
    using R = Hidl::CurlData;
    return {headerController<R>(), number("sample_time", "s", &R::sampleTime),
            number("confidence", "", &R::confidence),
            array("", {"thumb", "index", "middle", "ring", "little"}, "", &R::curl),
            array("splay", {"index_middle", "middle_ring", "ring_little"}, "", &R::splay)};
}

FieldList<Hidl::PrecisionPadData> Fields<Hidl::PrecisionPadData>::list() {
    using R = Hidl::PrecisionPadData;
    return {headerController<R>(),
            number("phase", "", &R::phase),
            array("", kXy, "", &R::position),
            number("force", "n", &R::force),
            number("contact_area", "mm^2", &R::contactArea),
            number("proximity", "mm", &R::proximity)};
}

FieldList<Hidl::TouchPoint> Fields<Hidl::TouchPoint>::list() {
    using R = Hidl::TouchPoint;
    return {number("touching", "", &R::touching),
            number("finger", "", &R::finger),
            number("pressed", "", &R::pressed),
            number("x", "", &R::x),
            number("y", "", &R::y),
            number("force", "", &R::force),
            number("major_axis", "", &R::majorAxis),
            number("minor_axis", "", &R::minorAxis)};
}

FieldList<Hidl::MultiTouchData> Fields<Hidl::MultiTouchData>::list() {
    using R = Hidl::MultiTouchData;
    return FieldList<R>(joined<R>({{headerController<R>()}, each("{name}_{i}", &R::points)}));
}

FieldList<Hidl::StylusData> Fields<Hidl::StylusData>::list() {
    using R = Hidl::StylusData;
    return {headerController<R>(), number("pressure", "", &R::pressure)};
}

FieldList<Hidl::ControllerInputADCData> Fields<Hidl::ControllerInputADCData>::list() {
    using R = Hidl::ControllerInputADCData;
    return {controller<R>(), number("trigger", "", &R::trigger), number("grip", "", &R::grip),
            number("thumbstick_x", "", &R::thumbstickX),
            number("thumbstick_y", "", &R::thumbstickY)};
}

FieldList<Hidl::PoseInput> Fields<Hidl::PoseInput>::list() {
    using R = Hidl::PoseInput;
    return {controller<R>(),
            number("timestamp", "ns", &R::timestamp),
            number("status", "", &R::status),
            number("sequence", "", &R::sequence),
            array("position", kXyz, "m", &R::position),
            array("orientation", kXyzw, "", &R::orientation),
            array("linear_velocity", kXyz, "m/s", &R::linearVelocity),
            array("angular_velocity", kXyz, "rad/s", &R::angularVelocity),
            array("linear_acceleration", kXyz, "m/s^2", &R::linearAcceleration),
            array("angular_acceleration", kXyz, "rad/s^2", &R::angularAcceleration),
            array("",
                  {"position_variance_x_m2", "position_variance_y_m2", "position_variance_z_m2",
                   "orientation_variance_x_rad2", "orientation_variance_y_rad2",
                   "orientation_variance_z_rad2"},
                  "", &R::variance),
            array("gravity", kXyz, "m/s^2", &R::gravity)};
}

FieldList<Hidl::ControllerCollisionEvent> Fields<Hidl::ControllerCollisionEvent>::list() {
    using R = Hidl::ControllerCollisionEvent;
    return {controller<R>(),
            number("timestamp", "ns", &R::timestamp),
            number("peak_acceleration", "m/s^2", &R::peakAcceleration),
            number("duration", "ms", &R::duration),
            number("sequence", "", &R::sequence),
            number("kind", "", &R::kind),
            number("confidence", "", &R::confidence),
            array("direction", kXyz, "", &R::direction)};
}

FieldList<Hidl::WirelessDeviceStats> Fields<Hidl::WirelessDeviceStats>::list() {
    using R = Hidl::WirelessDeviceStats;
    return {controller<R>(),
            number("timestamp", "ns", &R::timestamp),
            number("packets_received", "", &R::packetsReceived),
            number("packets_lost", "", &R::packetsLost),
            number("retransmissions", "", &R::retransmissions),
            number("frequency", "mhz", &R::frequency),
            number("signal_strength", "dbm", &R::signalStrength),
            number("transmit_power", "dbm", &R::transmitPower),
            number("latency", "us", &R::latency),
            number("data_rate", "bit/s", &R::dataRate)};
}

FieldList<Hidl::CameraFrame> Fields<Hidl::CameraFrame>::list() {
    using R = Hidl::CameraFrame;
    return {number("timestamp", "ns", &R::timestamp),
            number("arrival_timestamp", "ns", &R::arrivalTimestamp),
            number("exposure_time", "ns", &R::exposureTime),
            number("analog_gain", "", &R::analogGain),
            number("digital_gain", "", &R::digitalGain),
            number("camera", "", &R::cameraId),
            number("buffer", "", &R::bufferIndex),
            number("sequence", "", &R::sequence),
            number("frame_type", "", &R::frameType),
            number("width", "", &R::width),
            number("height", "", &R::height),
            number("stride", "", &R::stride),
            number("pixel_format", "", &R::pixelFormat),
            number("row_time", "ns", &R::rowTime),
            number("temperature", "c", &R::temperature)};
}

FieldList<Hidl::FrameSet> Fields<Hidl::FrameSet>::list() {
    using R = Hidl::FrameSet;
    return FieldList<R>(joined<R>(
        {{number("timestamp", "ns", &R::timestamp), number("sequence", "", &R::sequence),
          number("frame_type", "", &R::frameType), number("frames", "", &R::numFrames),
          number("mux_state", "", &R::muxState)},
         each("frame{i}_{name}", &R::frames, [](const R& record) { return record.numFrames; })}));
}

}  // namespace Recording
