// Frame sets: the simultaneous images of one stream's cameras.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Quopa::Sensors::v3 {

/// The purpose of a camera's images. Values are carried as the service sent them and may have no
/// name here.
enum class FrameType : uint32_t {
    /// In a frame set: the camera's frame did not arrive in time.
    NOT_RECEIVED = 0,
    /// In a frame set: the camera's frame arrived damaged.
    INVALID = 1,
    HEADSET = 2,
    CONTROLLER = 3,
    HAND = 4,
    FACE_EYE_COMPOSITE = 5,
    EYE = 6,
    FACE = 7,
    DEPTH = 8,
    COLOR = 9,
    GENERIC_SLOT_0 = 10,
    GENERIC_SLOT_1 = 11,
    GENERIC_SLOT_2 = 12,
    GENERIC_SLOT_3 = 13,
    GENERIC_SLOT_4 = 14,
    GENERIC_SLOT_5 = 15,
    GENERIC_SLOT_6 = 16,
    GENERIC_SLOT_7 = 17,
    NUM_FRAME_TYPES = 18,
};

}  // namespace Quopa::Sensors::v3

namespace Vek::Sensors {

using Quopa::Sensors::v3::FrameType;

/// The largest number of cameras in a frame set.
inline constexpr size_t kMaxFrameSetSize = 10;

/// Layout of a pixel in memory.
enum class PixelFormat : uint32_t {
    /// One byte per pixel.
    GREY_8 = 0,
    /// Ten bits in two bytes, little-endian, in the low bits.
    GREY_10 = 1,
    /// Four bytes per pixel: red, green, blue, alpha.
    RGBA_8888 = 2,
    /// Two bytes per pixel, little-endian: distance in mm; 0 is unknown.
    DEPTH_16 = 3,
};

/// One camera's part of a frame set (72 bytes). The pixels are in a buffer of
/// CameraStreamMetadata. Everything here is as the service wrote it: check `bufferIndex` against
/// the number of buffers, and width, height and stride against the size of the buffer.
struct CameraFrame {
    /// Middle of the exposure of the image's middle row: CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    /// When the service received the image: CLOCK_MONOTONIC, in ns.
    int64_t arrivalTimestamp;
    /// In ns.
    uint64_t exposureTime;
    /// Factors; 1 is no amplification.
    float analogGain;
    float digitalGain;
    uint32_t cameraId;
    /// Index of the image's buffer in CameraMetadata::buffers.
    uint32_t bufferIndex;
    /// Counts the camera's frames, including lost ones; wraps.
    uint32_t sequence;
    /// The type of the frame set, or, if there is no image, NOT_RECEIVED or INVALID.
    FrameType frameType;
    /// In pixels.
    uint32_t width;
    uint32_t height;
    /// Distance from one row to the next, in bytes.
    uint32_t stride;
    PixelFormat pixelFormat;
    /// Time from the exposure of one row to that of the next, in ns; 0 for a global shutter.
    uint32_t rowTime;
    /// Temperature of the image sensor, in degrees Celsius.
    float temperature;
};

/// The simultaneous images of a stream's cameras (744 bytes).
struct FrameSet {
    /// The common middle of the exposures: CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    /// Counts the stream's frame sets, including dropped ones; wraps.
    uint32_t sequence;
    FrameType frameType;
    /// Number of entries of `frames` in use, as the service wrote it: check it against
    /// kMaxFrameSetSize.
    uint32_t numFrames;
    /// Number of the mux state that applies, as in FrameSetConfigurationUpdate::header.
    uint32_t muxState;
    /// In the order of CameraStreamMetadata::cameras.
    std::array<CameraFrame, kMaxFrameSetSize> frames;
};

}  // namespace Vek::Sensors
