// Proof that the controller records are laid out as the service, this library and its clients have
// agreed. Nothing here is executed.
#include <cstddef>
#include <type_traits>

#include "controller/convert.h"

namespace Vek::Sensors {
namespace {

// Sizes and offsets are in bytes, the HAL's before the API's.
#define RECORD(record, hidlSize, apiSize) \
    static_assert(sizeof(Hidl::record) == (hidlSize) && sizeof(record) == (apiSize))
#define FIELD(record, field, hidlOffset, hidlWidth, apiOffset, apiWidth) \
    static_assert(offsetof(Hidl::record, field) == (hidlOffset) &&       \
                  sizeof(Hidl::record::field) == (hidlWidth) &&          \
                  offsetof(record, field) == (apiOffset) && sizeof(record::field) == (apiWidth))
// The same in both.
#define SAME(record, field, offset, width) FIELD(record, field, offset, width, offset, width)

SAME(ControllerSampleHeader, controller, 0, 8);
SAME(ControllerSampleHeader, timestamp, 8, 8);
SAME(ControllerSampleHeader, arrivalTimestamp, 16, 8);
SAME(ControllerSampleHeader, sequence, 24, 8);
RECORD(ControllerSampleHeader, 32, 32);

SAME(ButtonData, header, 0, 32);
FIELD(ButtonData, pressed, 32, 4, 32, 8);
FIELD(ButtonData, touched, 36, 4, 40, 8);
FIELD(ButtonData, approached, 40, 4, 48, 8);
FIELD(ButtonData, trigger, 44, 4, 56, 4);
FIELD(ButtonData, grip, 48, 4, 60, 4);
FIELD(ButtonData, thumbstick, 52, 8, 64, 8);
RECORD(ButtonData, 64, 72);

SAME(CurlData, header, 0, 32);
SAME(CurlData, curl, 32, 20);
SAME(CurlData, splay, 52, 12);
SAME(CurlData, sampleTime, 64, 8);
SAME(CurlData, confidence, 72, 4);
RECORD(CurlData, 80, 80);

SAME(PrecisionPadData, header, 0, 32);
SAME(PrecisionPadData, phase, 32, 1);
static_assert(offsetof(PrecisionPadData, gesture) == 33);
SAME(PrecisionPadData, position, 36, 8);
SAME(PrecisionPadData, force, 44, 4);
SAME(PrecisionPadData, contactArea, 48, 4);
SAME(PrecisionPadData, proximity, 52, 1);
RECORD(PrecisionPadData, 56, 56);

// The bits before `reserved` fill the API's first byte.
static_assert(offsetof(Hidl::TouchPoint, touching) == 0 && offsetof(Hidl::TouchPoint, finger) == 1);
static_assert(offsetof(Hidl::TouchPoint, pressed) == 2 && offsetof(TouchPoint, reserved) == 1);
FIELD(TouchPoint, x, 4, 2, 2, 2);
FIELD(TouchPoint, y, 6, 2, 4, 2);
FIELD(TouchPoint, force, 8, 1, 6, 1);
FIELD(TouchPoint, majorAxis, 9, 1, 7, 1);
FIELD(TouchPoint, minorAxis, 10, 1, 8, 1);
static_assert(offsetof(TouchPoint, reservedEnd) == 9);
RECORD(TouchPoint, 12, 10);
SAME(MultiTouchData, header, 0, 32);
FIELD(MultiTouchData, points, 32, 48, 32, 40);
RECORD(MultiTouchData, 80, 72);

SAME(StylusData, header, 0, 32);
SAME(StylusData, pressure, 32, 4);
RECORD(StylusData, 40, 40);

static_assert(offsetof(ControllerInputData, kind) == 0 && sizeof(ControllerInputData::kind) == 1);
static_assert(offsetof(ControllerInputData, buttons) == 8);
static_assert(offsetof(ControllerInputData, curl) == 8);
static_assert(offsetof(ControllerInputData, precisionPad) == 8);
static_assert(offsetof(ControllerInputData, multiTouch) == 8);
static_assert(offsetof(ControllerInputData, stylus) == 8);
RECORD(ControllerInputData, 88, 88);

SAME(PairedControllerInfo, type, 0, 4);
SAME(PairedControllerInfo, address, 8, 8);
SAME(PairedControllerInfo, hand, 16, 1);
SAME(PairedControllerInfo, connection, 17, 1);
SAME(PairedControllerInfo, batteryLevel, 18, 1);
SAME(PairedControllerInfo, batteryVoltage, 20, 4);
SAME(PairedControllerInfo, name, 24, 16);
SAME(PairedControllerInfo, model, 40, 64);
SAME(PairedControllerInfo, serialNumber, 104, 64);
SAME(PairedControllerInfo, hardwareVersion, 168, 64);
SAME(PairedControllerInfo, firmwareVersion, 232, 64);
FIELD(PairedControllerInfo, features, 296, 4, 296, 8);
FIELD(PairedControllerInfo, factoryCalibration, 300, 140, 304, 140);
FIELD(PairedControllerInfo, temperature, 440, 4, 444, 4);
RECORD(PairedControllerInfo, 448, 448);

SAME(AdvertisingControllerInfo, type, 0, 4);
SAME(AdvertisingControllerInfo, address, 8, 8);
SAME(AdvertisingControllerInfo, name, 16, 16);
SAME(AdvertisingControllerInfo, productCode, 32, 5);
SAME(AdvertisingControllerInfo, features, 40, 4);
RECORD(AdvertisingControllerInfo, 48, 48);

SAME(ControllerImuData, controller, 0, 8);
SAME(ControllerImuData, timestamp, 8, 8);
SAME(ControllerImuData, arrivalTimestamp, 16, 8);
SAME(ControllerImuData, acceleration, 24, 12);
SAME(ControllerImuData, angularRate, 36, 12);
SAME(ControllerImuData, temperature, 48, 4);
SAME(ControllerImuData, sequence, 52, 4);
SAME(ControllerImuData, status, 56, 4);
SAME(ControllerImuData, controllerTime, 60, 4);
RECORD(ControllerImuData, 64, 64);

SAME(WirelessDeviceStats, controller, 0, 8);
SAME(WirelessDeviceStats, timestamp, 8, 8);
SAME(WirelessDeviceStats, packetsReceived, 16, 4);
SAME(WirelessDeviceStats, packetsLost, 20, 4);
SAME(WirelessDeviceStats, retransmissions, 24, 4);
SAME(WirelessDeviceStats, frequency, 28, 4);
SAME(WirelessDeviceStats, signalStrength, 32, 4);
SAME(WirelessDeviceStats, transmitPower, 36, 4);
SAME(WirelessDeviceStats, latency, 40, 4);
SAME(WirelessDeviceStats, dataRate, 44, 4);
RECORD(WirelessDeviceStats, 48, 48);

SAME(PoseInput, controller, 0, 8);
SAME(PoseInput, timestamp, 8, 8);
SAME(PoseInput, position, 16, 12);
SAME(PoseInput, orientation, 28, 16);
SAME(PoseInput, linearVelocity, 44, 12);
SAME(PoseInput, angularVelocity, 56, 12);
SAME(PoseInput, linearAcceleration, 68, 12);
SAME(PoseInput, angularAcceleration, 80, 12);
SAME(PoseInput, variance, 92, 24);
SAME(PoseInput, gravity, 116, 12);
SAME(PoseInput, status, 128, 4);
SAME(PoseInput, sequence, 132, 4);
RECORD(PoseInput, 136, 136);

SAME(ControllerInputADCData, controller, 0, 8);
SAME(ControllerInputADCData, trigger, 8, 2);
SAME(ControllerInputADCData, grip, 10, 2);
SAME(ControllerInputADCData, thumbstickX, 12, 2);
SAME(ControllerInputADCData, thumbstickY, 14, 2);
RECORD(ControllerInputADCData, 16, 16);

SAME(ControllerCollisionEvent, controller, 0, 8);
SAME(ControllerCollisionEvent, timestamp, 8, 8);
SAME(ControllerCollisionEvent, direction, 16, 12);
SAME(ControllerCollisionEvent, peakAcceleration, 28, 4);
SAME(ControllerCollisionEvent, duration, 32, 4);
SAME(ControllerCollisionEvent, sequence, 36, 4);
SAME(ControllerCollisionEvent, kind, 40, 4);
SAME(ControllerCollisionEvent, confidence, 44, 4);
RECORD(ControllerCollisionEvent, 48, 48);

SAME(HapticsState, controller, 0, 8);
SAME(HapticsState, timestamp, 8, 8);
SAME(HapticsState, amplitude, 16, 4);
SAME(HapticsState, frequency, 20, 4);
SAME(HapticsState, bufferedSamples, 24, 4);
SAME(HapticsState, activity, 28, 4);
RECORD(HapticsState, 32, 32);

SAME(WirelessStateTransition, previous, 0, 1);
SAME(WirelessStateTransition, current, 1, 1);
RECORD(WirelessStateTransition, 2, 2);

SAME(PoseOutput, controller, 0, 8);
SAME(PoseOutput, timestamp, 8, 8);
SAME(PoseOutput, position, 16, 12);
SAME(PoseOutput, orientation, 28, 16);
SAME(PoseOutput, linearVelocity, 44, 12);
SAME(PoseOutput, angularVelocity, 56, 12);
SAME(PoseOutput, linearAcceleration, 68, 12);
SAME(PoseOutput, angularAcceleration, 80, 12);
SAME(PoseOutput, status, 92, 4);
SAME(PoseOutput, sequence, 96, 4);
SAME(PoseOutput, confidence, 100, 4);
RECORD(PoseOutput, 104, 104);

SAME(ControllerLedConfig, hand, 0, 1);
SAME(ControllerLedConfig, pattern, 1, 1);
SAME(ControllerLedConfig, red, 2, 1);
SAME(ControllerLedConfig, green, 3, 1);
SAME(ControllerLedConfig, blue, 4, 1);
SAME(ControllerLedConfig, brightness, 5, 1);
SAME(ControllerLedConfig, period, 6, 2);
RECORD(ControllerLedConfig, 8, 8);

SAME(ThumbstickADCRange, minimumX, 0, 2);
SAME(ThumbstickADCRange, maximumX, 2, 2);
SAME(ThumbstickADCRange, minimumY, 4, 2);
SAME(ThumbstickADCRange, maximumY, 6, 2);
RECORD(ThumbstickADCRange, 8, 8);

SAME(SimpleHapticIntensity, intensity, 0, 1);
SAME(SimpleHapticIntensity, duration, 1, 1);
RECORD(SimpleHapticIntensity, 2, 2);

SAME(ControllerWirelessFreqBlocklist, channels, 0, 4);
RECORD(ControllerWirelessFreqBlocklist, 4, 4);

SAME(SecureHostInfo, hostId, 0, 4);
SAME(SecureHostInfo, key, 4, 16);
RECORD(SecureHostInfo, 20, 20);

SAME(SecureDeviceInfo, address, 0, 8);
SAME(SecureDeviceInfo, deviceId, 8, 4);
SAME(SecureDeviceInfo, key, 12, 16);
RECORD(SecureDeviceInfo, 32, 32);

static_assert(sizeof(ControllerAddr) == 8 && sizeof(Hidl::ControllerAddr) == 8);

#undef SAME
#undef FIELD
#undef RECORD

// Which storage a batch's fixed part has follows from the element's type alone.
static_assert(std::is_trivial_v<CurlData> && std::is_trivial_v<MultiTouchData> &&
              std::is_trivial_v<StylusData> && std::is_trivial_v<Hidl::PoseOutput>);
static_assert(!std::is_trivial_v<PairedControllerInfo> && !std::is_trivial_v<ButtonData> &&
              !std::is_trivial_v<PrecisionPadData> && !std::is_trivial_v<ControllerInputData>);

}  // namespace
}  // namespace Vek::Sensors
