// One list for each kind of record, in the order of the recording's columns.
#include "replay/record_fields.h"

#include <charconv>
#include <string>

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
        [](Record& record) -> Hal::ControllerAddr& { return record.controller; });
}

template <typename Record>
Field<Record> headerController() {
    return address<Record>(
        [](Record& record) -> Hal::ControllerAddr& { return record.header.controller; });
}

template <typename Record>
std::vector<Field<Record>> times() {
    return {number("timestamp", "ns", &Record::timestamp),
            number("arrival_timestamp", "ns", &Record::arrivalTimestamp)};
}

}  // namespace

FieldList<Hal::ImuData> Fields<Hal::ImuData>::list() {
    using R = Hal::ImuData;
    return FieldList<R>(joined<R>(
        {times<R>(),
         {array("acceleration", kXyz, "m/s^2", &R::acceleration),
          array("angular_rate", kXyz, "rad/s", &R::angularRate),
          number("temperature", "c", &R::temperature), number("sequence", "", &R::sequence),
          number("sensor", "", &R::sensor), number("status", "", &R::status),
          number("acceleration_range", "m/s^2", &R::accelerationRange),
          number("angular_rate_range", "rad/s", &R::angularRateRange)}}));
}

FieldList<Hal::MagData> Fields<Hal::MagData>::list() {
    using R = Hal::MagData;
    return {number("timestamp", "ns", &R::timestamp),
            array("field", kXyz, "ut", &R::field),
            number("temperature", "c", &R::temperature),
            number("sequence", "", &R::sequence),
            number("sensor", "", &R::sensor),
            number("status", "", &R::status),
            number("range", "ut", &R::range)};
}

FieldList<Hal::IadData> Fields<Hal::IadData>::list() {
    return {number("distance", "mm", &Hal::IadData::distance)};
}

FieldList<Hal::FlickerPeak> Fields<Hal::FlickerPeak>::list() {
    using R = Hal::FlickerPeak;
    return {number("hz", "", &R::frequency), number("amplitude", "", &R::amplitude)};
}

FieldList<Hal::FlickerData> Fields<Hal::FlickerData>::list() {
    using R = Hal::FlickerData;
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

FieldList<Hal::AdcFlickerData> Fields<Hal::AdcFlickerData>::list() {
    using R = Hal::AdcFlickerData;
    return FieldList<R>(joined<R>(
        {times<R>(),
         {number("sequence", "", &R::sequence), number("status", "", &R::status),
          number("sample_rate", "hz", &R::sampleRate), number("sample_count", "", &R::sampleCount),
          Recording::list("samples", "", &R::samples, &R::sampleCount)}}));
}

FieldList<Hal::AmbientLightData> Fields<Hal::AmbientLightData>::list() {
    using R = Hal::AmbientLightData;
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

FieldList<Hal::ExternalTimestampData> Fields<Hal::ExternalTimestampData>::list() {
    using R = Hal::ExternalTimestampData;
    return FieldList<R>(joined<R>(
        {times<R>(),
         {number("external_timestamp", "ns", &R::externalTimestamp),
          number("clock_rate", "", &R::clockRate), number("uncertainty", "ns", &R::uncertainty),
          number("sequence", "", &R::sequence), number("source", "", &R::source),
          number("status", "", &R::status)}}));
}

FieldList<Hal::PairedControllerInfo> Fields<Hal::PairedControllerInfo>::list() {
    using R = Hal::PairedControllerInfo;
    return {address<R>([](R& record) -> Hal::ControllerAddr& { return record.address; }),
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

FieldList<Hal::ControllerImuData> Fields<Hal::ControllerImuData>::list() {
    using R = Hal::ControllerImuData;
    return FieldList<R>(
        joined<R>({times<R>(),
                   {controller<R>(), number("temperature", "c", &R::temperature),
                    number("sequence", "", &R::sequence), number("status", "", &R::status),
                    number("controller_time", "us", &R::controllerTime),
                    array("acceleration", kXyz, "m/s^2", &R::acceleration),
                    array("angular_rate", kXyz, "rad/s", &R::angularRate)}}));
}

FieldList<Hal::ButtonData> Fields<Hal::ButtonData>::list() {
    using R = Hal::ButtonData;
    using Header = Hal::ControllerSampleHeader;
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

FieldList<Hal::CurlData> Fields<Hal::CurlData>::list() {
    using R = Hal::CurlData;
    return {headerController<R>(), number("sample_time", "s", &R::sampleTime),
            number("confidence", "", &R::confidence),
            array("", {"thumb", "index", "middle", "ring", "little"}, "", &R::curl),
            array("splay", {"index_middle", "middle_ring", "ring_little"}, "", &R::splay)};
}

FieldList<Hal::PrecisionPadData> Fields<Hal::PrecisionPadData>::list() {
    using R = Hal::PrecisionPadData;
    return {headerController<R>(),
            number("phase", "", &R::phase),
            array("", kXy, "", &R::position),
            number("force", "n", &R::force),
            number("contact_area", "mm^2", &R::contactArea),
            number("proximity", "mm", &R::proximity)};
}

FieldList<Hal::TouchPoint> Fields<Hal::TouchPoint>::list() {
    using R = Hal::TouchPoint;
    return {number("touching", "", &R::touching),
            number("finger", "", &R::finger),
            number("pressed", "", &R::pressed),
            number("x", "", &R::x),
            number("y", "", &R::y),
            number("force", "", &R::force),
            number("major_axis", "", &R::majorAxis),
            number("minor_axis", "", &R::minorAxis)};
}

FieldList<Hal::MultiTouchData> Fields<Hal::MultiTouchData>::list() {
    using R = Hal::MultiTouchData;
    return FieldList<R>(joined<R>({{headerController<R>()}, each("{name}_{i}", &R::points)}));
}

FieldList<Hal::StylusData> Fields<Hal::StylusData>::list() {
    using R = Hal::StylusData;
    return {headerController<R>(), number("pressure", "", &R::pressure)};
}

FieldList<Hal::ControllerInputADCData> Fields<Hal::ControllerInputADCData>::list() {
    using R = Hal::ControllerInputADCData;
    return {controller<R>(), number("trigger", "", &R::trigger), number("grip", "", &R::grip),
            number("thumbstick_x", "", &R::thumbstickX),
            number("thumbstick_y", "", &R::thumbstickY)};
}

FieldList<Hal::PoseInput> Fields<Hal::PoseInput>::list() {
    using R = Hal::PoseInput;
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

FieldList<Hal::ControllerCollisionEvent> Fields<Hal::ControllerCollisionEvent>::list() {
    using R = Hal::ControllerCollisionEvent;
    return {controller<R>(),
            number("timestamp", "ns", &R::timestamp),
            number("peak_acceleration", "m/s^2", &R::peakAcceleration),
            number("duration", "ms", &R::duration),
            number("sequence", "", &R::sequence),
            number("kind", "", &R::kind),
            number("confidence", "", &R::confidence),
            array("direction", kXyz, "", &R::direction)};
}

FieldList<Hal::WirelessDeviceStats> Fields<Hal::WirelessDeviceStats>::list() {
    using R = Hal::WirelessDeviceStats;
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

FieldList<Hal::CameraFrame> Fields<Hal::CameraFrame>::list() {
    using R = Hal::CameraFrame;
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

FieldList<Hal::FrameSet> Fields<Hal::FrameSet>::list() {
    using R = Hal::FrameSet;
    return FieldList<R>(joined<R>(
        {{number("timestamp", "ns", &R::timestamp), number("sequence", "", &R::sequence),
          number("frame_type", "", &R::frameType), number("frames", "", &R::numFrames),
          number("mux_state", "", &R::muxState)},
         each("frame{i}_{name}", &R::frames, [](const R& record) { return record.numFrames; })}));
}

}  // namespace Recording
