// The records of the hand controllers' streams, and those of their pairing.
//
// Sizes and offsets are fixed. Enumerations are carried as the service sent them and may hold
// values that have no name here; so may bits of a status.
#pragma once

#include <vek/sensors/controller_addr.h>

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace Vek::Sensors {

/// A text of at most `Size` characters, filled up with zeros; none follows a text that fills the
/// field.
template <size_t Size>
using ControllerText = std::array<char, Size>;

/// The text without its zeros. The view points into the record and is valid as long as the record.
template <size_t Size>
std::string_view textOf(const ControllerText<Size>& text) {
    const std::string_view whole{text.data(), Size};
    return whole.substr(0, whole.find('\0'));
}

enum class ControllerType : uint32_t {
    UNKNOWN = 0,
    HANDHELD = 1,
    STYLUS = 2,
};

enum class ControllerHand : uint8_t {
    UNSPECIFIED = 0,
    LEFT = 1,
    RIGHT = 2,
};

enum class ControllerConnection : uint8_t {
    DISCONNECTED = 0,
    CONNECTING = 1,
    CONNECTED = 2,
    ASLEEP = 3,
};

/// Bit numbers of PairedControllerInfo::features: what a controller has, and its current
/// activities.
enum ControllerFeature : uint32_t {
    CONTROLLER_FEATURE_BUTTONS = 0,
    CONTROLLER_FEATURE_THUMBSTICK = 1,
    CONTROLLER_FEATURE_CURL = 2,
    CONTROLLER_FEATURE_PRECISION_PAD = 3,
    CONTROLLER_FEATURE_MULTI_TOUCH = 4,
    CONTROLLER_FEATURE_STYLUS = 5,
    CONTROLLER_FEATURE_IMU = 6,
    CONTROLLER_FEATURE_POSE = 7,
    CONTROLLER_FEATURE_INPUT_ADC = 8,
    CONTROLLER_FEATURE_COLLISION_EVENTS = 9,
    CONTROLLER_FEATURE_SIMPLE_HAPTICS = 10,
    CONTROLLER_FEATURE_BUFFERED_HAPTICS = 11,
    CONTROLLER_FEATURE_PCM_HAPTICS = 12,
    CONTROLLER_FEATURE_LED = 13,
    CONTROLLER_FEATURE_SECURE_PAIRING = 14,
    CONTROLLER_FEATURE_CHARGING = 15,
    CONTROLLER_FEATURE_BATTERY_LOW = 16,
    CONTROLLER_FEATURE_DMM = 17,
    CONTROLLER_FEATURE_UPDATING = 18,
};
inline constexpr size_t kControllerFeatures = 19;

/// One paired controller (448 bytes).
struct PairedControllerInfo {
    ControllerType type;
    ControllerAddr address;
    ControllerHand hand;
    ControllerConnection connection;
    /// Charge of the battery, in percent.
    uint8_t batteryLevel;
    /// In V.
    float batteryVoltage;
    ControllerText<16> name;
    ControllerText<64> model;
    ControllerText<64> serialNumber;
    ControllerText<64> hardwareVersion;
    ControllerText<64> firmwareVersion;
    /// Bits are numbered by ControllerFeature.
    std::bitset<kControllerFeatures> features;
    /// The factory's calibration, in the controller's own format.
    std::array<uint8_t, 140> factoryCalibration;
    /// Of the controller's board, in degrees Celsius.
    float temperature;
};

/// A controller that advertises itself for pairing (48 bytes).
struct AdvertisingControllerInfo {
    ControllerType type;
    ControllerAddr address;
    ControllerText<16> name;
    std::array<uint8_t, 5> productCode;
    /// A bit for each ControllerFeature; bits above those are 0.
    uint32_t features;
};

/// Header of the samples of a controller's inputs (32 bytes).
///
/// All fields are set in ButtonData. In the other inputs only `controller` is set; the rest is
/// always 0.
struct ControllerSampleHeader {
    ControllerAddr controller;
    /// When the sample was taken: CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    /// When the service received the sample: CLOCK_MONOTONIC, in ns.
    int64_t arrivalTimestamp;
    /// Counts the samples of one kind of one controller, including dropped ones.
    uint64_t sequence;
};

/// Bit numbers of the sets in ButtonData.
enum ControllerButton : uint32_t {
    CONTROLLER_BUTTON_TRIGGER = 0,
    CONTROLLER_BUTTON_GRIP = 1,
    CONTROLLER_BUTTON_MENU = 2,
    CONTROLLER_BUTTON_HOME = 3,
    CONTROLLER_BUTTON_THUMBSTICK = 4,
    CONTROLLER_BUTTON_PRIMARY = 5,
    CONTROLLER_BUTTON_SECONDARY = 6,
};
inline constexpr size_t kControllerButtons = 7;

/// Buttons and analogue inputs (72 bytes).
struct ButtonData {
    ControllerSampleHeader header;
    /// Bits of the three sets are numbered by ControllerButton.
    std::bitset<kControllerButtons> pressed;
    std::bitset<kControllerButtons> touched;
    /// A finger is near the button.
    std::bitset<kControllerButtons> approached;
    /// 0 (released) to 1.
    float trigger;
    /// 0 (released) to 1.
    float grip;
    /// x to the right and y away from the user, each -1 to 1.
    std::array<float, 2> thumbstick;
};

/// How far the fingers around the controller are bent (80 bytes).
struct CurlData {
    ControllerSampleHeader header;
    /// Thumb to little finger, 0 (stretched) to 1.
    std::array<float, 5> curl;
    /// Between index and middle, middle and ring, ring and little finger, 0 (closed) to 1.
    std::array<float, 3> splay;
    /// When the sample was taken: CLOCK_MONOTONIC, in s.
    double sampleTime;
    /// 0 to 1.
    float confidence;
};

enum class PrecisionPadPhase : uint8_t {
    IDLE = 0,
    HOVERING = 1,
    TOUCHING = 2,
    PRESSED = 3,
};

/// The precision pad under the thumb (56 bytes).
struct PrecisionPadData {
    ControllerSampleHeader header;
    PrecisionPadPhase phase;
    /// Reserved for a gesture; the service reports none: always 0.
    uint8_t gesture{0};
    /// x to the right and y away from the user, each -1 to 1.
    std::array<float, 2> position;
    /// In N.
    float force;
    /// Size of the contact, in mm^2.
    float contactArea;
    /// Height of the thumb over the pad, in mm.
    uint8_t proximity;
};

/// One finger on the touch surface (10 bytes).
struct TouchPoint {
    /// 1 while the finger touches.
    uint8_t touching : 1;
    /// The controller's estimate of which finger it is.
    uint8_t finger : 2;
    /// 1 while the surface is pressed down under the finger.
    uint8_t pressed : 1;
    /// Always 0, like the other reserved members.
    uint8_t reservedBits : 4;
    uint8_t reserved;
    /// In 1/65535 of the surface's width.
    uint16_t x;
    /// In 1/65535 of the surface's height.
    uint16_t y;
    /// Full scale is 255.
    uint8_t force;
    /// Axes of the contact's ellipse, in 0.1 mm.
    uint8_t majorAxis;
    uint8_t minorAxis;
    uint8_t reservedEnd;
};

/// The touch surface (72 bytes).
struct MultiTouchData {
    ControllerSampleHeader header;
    /// Always four, in use or not.
    std::array<TouchPoint, 4> points;
};

/// The stylus tip (40 bytes).
struct StylusData {
    ControllerSampleHeader header;
    /// 0 (not touching) to 1.
    float pressure;
};

/// A controller's input of one kind (88 bytes). `kind` names the member that may be read.
struct ControllerInputData {
    enum class Kind : uint8_t {
        BUTTONS = 0,
        CURL = 1,
        PRECISION_PAD = 2,
        MULTI_TOUCH = 3,
        STYLUS = 4,
    };

    explicit ControllerInputData(const ButtonData& data)
        : ControllerInputData(Kind::BUTTONS, data) {}
    explicit ControllerInputData(const CurlData& data) : ControllerInputData(Kind::CURL, data) {}
    explicit ControllerInputData(const PrecisionPadData& data)
        : ControllerInputData(Kind::PRECISION_PAD, data) {}
    explicit ControllerInputData(const MultiTouchData& data)
        : ControllerInputData(Kind::MULTI_TOUCH, data) {}
    explicit ControllerInputData(const StylusData& data)
        : ControllerInputData(Kind::STYLUS, data) {}

    Kind kind;
    union {
        ButtonData buttons;
        CurlData curl;
        PrecisionPadData precisionPad;
        MultiTouchData multiTouch;
        StylusData stylus;
    };

  private:
    template <typename Input>
    ControllerInputData(Kind inputKind, const Input& data) {
        // Before the member and behind it too, so that equal inputs are equal byte for byte.
        std::memset(static_cast<void*>(this), 0, sizeof(*this));
        kind = inputKind;
        std::memcpy(static_cast<void*>(&curl), &data, sizeof(data));
    }
};

/// One sample of a controller's inertial measurement unit (64 bytes).
struct ControllerImuData {
    ControllerAddr controller;
    /// When the sample was taken: CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    /// When the service received the sample: CLOCK_MONOTONIC, in ns.
    int64_t arrivalTimestamp;
    /// Specific force along x, y, z of the controller, in m/s^2.
    std::array<float, 3> acceleration;
    /// Rotation about x, y, z of the controller, right-handed, in rad/s.
    std::array<float, 3> angularRate;
    /// Temperature of the die, in degrees Celsius.
    float temperature;
    /// Counts the controller's samples, including dropped ones; wraps.
    uint32_t sequence;
    /// MotionSampleStatus bits.
    uint32_t status;
    /// The controller's own clock when the sample was taken, in us; wraps.
    uint32_t controllerTime;
};

/// The radio link to one controller over the last second (48 bytes).
struct WirelessDeviceStats {
    ControllerAddr controller;
    /// End of that second: CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    uint32_t packetsReceived;
    uint32_t packetsLost;
    uint32_t retransmissions;
    /// Centre frequency of the channel in use, in MHz.
    uint32_t frequency;
    /// Received signal strength, in dBm.
    int32_t signalStrength;
    /// In dBm.
    int32_t transmitPower;
    /// From the controller to the service, mean, in us.
    float latency;
    /// In bit/s.
    uint32_t dataRate;
};

/// Bits of PoseInput::status and PoseOutput::status.
enum ControllerPoseStatus : uint32_t {
    CONTROLLER_POSE_POSITION_VALID = 1U << 0,
    CONTROLLER_POSE_ORIENTATION_VALID = 1U << 1,
    /// Extrapolated: the tracking cameras do not see the controller.
    CONTROLLER_POSE_PREDICTED = 1U << 2,
};

/// A controller's pose in the headset's world frame, with its derivatives (136 bytes).
struct PoseInput {
    ControllerAddr controller;
    /// When the pose held: CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    /// In m.
    std::array<float, 3> position;
    /// Unit quaternion x, y, z, w, from the controller's frame to the world's.
    std::array<float, 4> orientation;
    /// In m/s.
    std::array<float, 3> linearVelocity;
    /// In rad/s.
    std::array<float, 3> angularVelocity;
    /// In m/s^2, without gravity.
    std::array<float, 3> linearAcceleration;
    /// In rad/s^2.
    std::array<float, 3> angularAcceleration;
    /// Of position (m^2) and orientation (rad^2), about x, y, z each.
    std::array<float, 6> variance;
    /// Direction of gravity in the controller's frame, in m/s^2.
    std::array<float, 3> gravity;
    /// ControllerPoseStatus bits.
    uint32_t status;
    /// Counts the poses of the controller; wraps.
    uint32_t sequence;
};

/// Converter readings of the analogue inputs, before calibration (16 bytes).
struct ControllerInputADCData {
    ControllerAddr controller;
    uint16_t trigger;
    uint16_t grip;
    uint16_t thumbstickX;
    uint16_t thumbstickY;
};

enum class CollisionKind : uint32_t {
    UNKNOWN = 0,
    OTHER_CONTROLLER = 1,
    HEADSET = 2,
    OBJECT = 3,
};

/// A collision of a controller (48 bytes).
struct ControllerCollisionEvent {
    ControllerAddr controller;
    /// Time of the greatest acceleration: CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    /// Unit vector of the blow in the controller's frame.
    std::array<float, 3> direction;
    /// In m/s^2.
    float peakAcceleration;
    /// In ms.
    float duration;
    /// Counts the events of the controller; wraps.
    uint32_t sequence;
    CollisionKind kind;
    /// 0 to 1.
    float confidence;
};

/// The headset as a partner in secure pairing (20 bytes). The service defines the meaning of the id
/// and the key.
struct SecureHostInfo {
    uint32_t hostId;
    std::array<uint8_t, 16> key;
};

/// A device as a partner in secure pairing (28 bytes, and 4 of padding). The service defines the
/// meaning of the id and the key.
struct SecureDeviceInfo {
    ControllerAddr address;
    uint32_t deviceId;
    std::array<uint8_t, 16> key;
};

enum class HapticsActivity : uint32_t {
    IDLE = 0,
    PLAYING = 1,
    /// The buffer ran empty before the end of the samples was sent.
    UNDERRUN = 2,
};

/// State of a controller's haptics (32 bytes).
struct HapticsState {
    ControllerAddr controller;
    /// CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    /// 0 to 1.
    float amplitude;
    /// In Hz.
    float frequency;
    /// Samples that are buffered and not yet played.
    uint32_t bufferedSamples;
    HapticsActivity activity;
};

enum class WirelessState : uint8_t {
    OFF = 0,
    SCANNING = 1,
    PAIRING = 2,
    CONNECTED = 3,
    LOST = 4,
};

/// A change of the radio's state (2 bytes).
struct WirelessStateTransition {
    WirelessState previous;
    WirelessState current;
};

/// A controller's pose from the process that tracks it (104 bytes). Fields without a comment are
/// those of PoseInput.
struct PoseOutput {
    ControllerAddr controller;
    /// When the pose held: CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    std::array<float, 3> position;
    std::array<float, 4> orientation;
    std::array<float, 3> linearVelocity;
    std::array<float, 3> angularVelocity;
    std::array<float, 3> linearAcceleration;
    std::array<float, 3> angularAcceleration;
    /// ControllerPoseStatus bits.
    uint32_t status;
    /// Counts the poses of the controller; wraps.
    uint32_t sequence;
    /// 0 to 1.
    float confidence;
};

}  // namespace Vek::Sensors
