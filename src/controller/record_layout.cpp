// Proves at compile time that the controller records have the layout on which the service, this
// library and its clients have agreed.
#include <cstddef>
#include <type_traits>

#include "controller/convert.h"
#include "foundation/same_layout.h"

namespace Vek::Sensors {
namespace {

MORIAK_SAME_LAYOUT(ControllerSampleHeader, 32);
MORIAK_SAME_LAYOUT(CurlData, 80);
MORIAK_SAME_LAYOUT(StylusData, 40);
MORIAK_SAME_LAYOUT(AdvertisingControllerInfo, 48);
MORIAK_SAME_LAYOUT(ControllerImuData, 64);
MORIAK_SAME_LAYOUT(WirelessDeviceStats, 48);
MORIAK_SAME_LAYOUT(PoseInput, 136);
MORIAK_SAME_LAYOUT(ControllerInputADCData, 16);
MORIAK_SAME_LAYOUT(ControllerCollisionEvent, 48);
MORIAK_SAME_LAYOUT(HapticsState, 32);
MORIAK_SAME_LAYOUT(WirelessStateTransition, 2);
MORIAK_SAME_LAYOUT(PoseOutput, 104);
MORIAK_SAME_LAYOUT(ControllerLedConfig, 8);
MORIAK_SAME_LAYOUT(ThumbstickADCRange, 8);
MORIAK_SAME_LAYOUT(SimpleHapticIntensity, 2);
MORIAK_SAME_LAYOUT(ControllerWirelessFreqBlocklist, 4);
MORIAK_SAME_LAYOUT(SecureHostInfo, 20);
MORIAK_SAME_LAYOUT(SecureDeviceInfo, 32);

// These layouts differ. Sizes and offsets are in bytes, first the HAL's, then the API's.
#define RECORD(record, hidlSize, apiSize) \
    static_assert(sizeof(Hidl::record) == (hidlSize) && sizeof(record) == (apiSize))
#define FIELD(record, field, hidlOffset, hidlWidth, apiOffset, apiWidth) \
    static_assert(offsetof(Hidl::record, field) == (hidlOffset) &&       \
                  sizeof(Hidl::record::field) == (hidlWidth) &&          \
                  offsetof(record, field) == (apiOffset) && sizeof(record::field) == (apiWidth))
// A field with the same offset and width in both.
#define SAME(record, field, offset, width) FIELD(record, field, offset, width, offset, width)

SAME(ButtonData, header, 0, 32);
FIELD(ButtonData, pressed, 32, 4, 32, 8);
FIELD(ButtonData, touched, 36, 4, 40, 8);
FIELD(ButtonData, approached, 40, 4, 48, 8);
FIELD(ButtonData, trigger, 44, 4, 56, 4);
FIELD(ButtonData, grip, 48, 4, 60, 4);
FIELD(ButtonData, thumbstick, 52, 8, 64, 8);
RECORD(ButtonData, 64, 72);

SAME(PrecisionPadData, header, 0, 32);
SAME(PrecisionPadData, phase, 32, 1);
static_assert(offsetof(PrecisionPadData, gesture) == 33);
SAME(PrecisionPadData, position, 36, 8);
SAME(PrecisionPadData, force, 44, 4);
SAME(PrecisionPadData, contactArea, 48, 4);
SAME(PrecisionPadData, proximity, 52, 1);
RECORD(PrecisionPadData, 56, 56);

// Bit fields have no offset: the ones before `reserved` fill the API's first byte.
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

static_assert(sizeof(ControllerAddr) == 8 && sizeof(Hidl::ControllerAddr) == 8);

#undef SAME
#undef FIELD
#undef RECORD

// Trivial elements are stored in TrivialStorage (os/static_vector.h).
static_assert(std::is_trivial_v<CurlData> && std::is_trivial_v<MultiTouchData> &&
              std::is_trivial_v<StylusData> && std::is_trivial_v<Hidl::PoseOutput>);
static_assert(!std::is_trivial_v<PairedControllerInfo> && !std::is_trivial_v<ButtonData> &&
              !std::is_trivial_v<PrecisionPadData> && !std::is_trivial_v<ControllerInputData>);

}  // namespace
}  // namespace Vek::Sensors
