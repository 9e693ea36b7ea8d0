// How cameras are set up: their static description, exposure, streams and mux modes.
//
// Enumerations are carried as the service sent them and may hold values that have no name here.
#pragma once

#include <vek/os/image_buffer.h>
#include <vek/sensors/frame_set.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace Vek::Sensors {

/// Frequency of the mains that lamps flicker with.
enum class UtilityFrequency : uint32_t {
    UNKNOWN = 0,
    FREQUENCY_50_HZ = 1,
    FREQUENCY_60_HZ = 2,
};

/// In frames per second.
enum class FrameRate : uint32_t {
    /// The rate that the mux mode has for the frame type.
    DEFAULT = 0,
    FPS_15 = 15,
    FPS_30 = 30,
    FPS_60 = 60,
    FPS_90 = 90,
};

/// The signal that a camera's exposures are synchronised with.
enum class CameraSyncMode : uint32_t {
    FREE_RUNNING = 0,
    DISPLAY = 1,
    EXTERNAL = 2,
};

/// Image size, relative to the sensor's.
enum class Resolution : uint32_t {
    FULL = 0,
    HALF = 1,
    QUARTER = 2,
};

/// Static description of one camera.
struct CameraProperties {
    /// Identifies the camera in all other records.
    uint32_t cameraId{};
    /// The camera's name.
    std::string propertyText1;
    /// The model of the camera's image sensor.
    std::string propertyText2;
    /// Factory calibration; empty if unavailable. As large as the service makes it, up to 2 GiB:
    /// the library sets no limit.
    std::string calibrationData1;
    /// Calibration learned while the device was used; empty if unavailable. As large as the service
    /// makes it.
    std::string calibrationData2;
};

struct ChannelSettings {
    /// The frame types that are captured; others are not.
    std::vector<FrameType> channels;
};

/// Each rate belongs to the frame type at the same index. The library does not compare the lengths.
struct FrameRateSettings {
    std::vector<FrameRate> frameRates;
    std::vector<FrameType> frameTypes;
};

/// Exposure of one camera (16 bytes).
struct ExposureGain {
    /// In ns.
    uint64_t exposureTime;
    /// Factors; 1 is no amplification.
    float analogGain;
    float digitalGain;
};

/// Exposure of the cameras of a stream, in the order of its metadata (168 bytes).
struct ExposureGainSettings {
    /// Number of entries in use; the others are not sent.
    uint32_t numCameras;
    std::array<ExposureGain, kMaxFrameSetSize> cameras;
};

struct CameraMetadata {
    uint32_t cameraId{};
    /// Indexed by CameraFrame::bufferIndex.
    std::vector<std::shared_ptr<OS::ImageBuffer>> buffers;
    /// Not in use; empty.
    std::vector<std::shared_ptr<OS::ImageBuffer>> reservedBuffers;
};

struct CameraStreamMetadata {
    /// In the order of FrameSet::frames.
    std::vector<CameraMetadata> cameras;
    /// Changes when the service replaces the buffers: ask for the metadata again then; earlier
    /// buffers are not written any more. A new resolution alone does not change it.
    uint32_t bufferGeneration{};
};

/// The settings of a stream's camera and their ranges (112 bytes).
struct CameraConfiguration {
    uint32_t cameraId;
    /// Of the images, in pixels.
    uint32_t width;
    uint32_t height;
    /// In bytes.
    uint32_t stride;
    PixelFormat pixelFormat;
    Resolution resolution;
    CameraSyncMode syncMode;
    FrameRate frameRate;
    /// In ns.
    uint64_t minExposureTime;
    uint64_t maxExposureTime;
    /// The value of ICameraStream's setPhaseOffset, in ns.
    uint64_t phaseOffset;
    float minAnalogGain;
    float maxAnalogGain;
    float minDigitalGain;
    float maxDigitalGain;
    /// The part of the image sensor that the images show, in its pixels.
    uint32_t cropLeft;
    uint32_t cropTop;
    uint32_t cropWidth;
    uint32_t cropHeight;
    /// Size of the whole image sensor, in pixels.
    uint32_t sensorWidth;
    uint32_t sensorHeight;
    /// In ns; 0 for a global shutter.
    uint32_t rowTime;
    /// Clockwise rotation of the images relative to the upright headset, in degrees.
    uint32_t rotation;
    /// Number of sensor pixels, along each side, that make up one pixel of the images.
    uint32_t binning;
    /// Number of the camera's image buffers.
    uint32_t numBuffers;
};

struct CameraStreamConfiguration {
    std::vector<CameraConfiguration> cameras;
    /// Frame sets per second.
    uint32_t frameSetRate{};
};

/// The settings of a camera that are the same in all slots of a mux mode (64 bytes).
struct CameraGlobalConfiguration {
    uint32_t cameraId;
    FrameRate frameRate;
    /// In ns.
    uint64_t minExposureTime;
    uint64_t maxExposureTime;
    float minGain;
    float maxGain;
    /// In ns.
    uint64_t phaseOffset;
    /// In pixels.
    uint32_t width;
    uint32_t height;
    PixelFormat pixelFormat;
    CameraSyncMode syncMode;
    /// In ns; 0 for a global shutter.
    uint32_t rowTime;
    /// Bit i: the camera is used in slot i.
    uint32_t slots;
};

/// The settings of a camera in one slot of a mux mode (56 bytes).
struct CameraPerSlotConfiguration {
    uint32_t cameraId;
    /// The purpose of the slot's images.
    FrameType frameType;
    /// In ns; 0 leaves the exposure to the automatic control.
    uint64_t exposureTime;
    float analogGain;
    float digitalGain;
    /// From the start of the slot to the exposure, in ns.
    uint64_t exposureOffset;
    /// The part of the image sensor that is read, in its pixels.
    uint32_t cropLeft;
    uint32_t cropTop;
    uint32_t cropWidth;
    uint32_t cropHeight;
    /// Bit i: illuminator i is lit during the exposure.
    uint32_t illuminators;
    Resolution resolution;
};

/// The cameras of one slot; there may be none.
struct SlotConfiguration {
    std::vector<CameraPerSlotConfiguration> cameras;
};

/// One purpose's data about a mux mode.
struct PurposeData {
    /// In a format that the purpose's consumers know.
    std::vector<uint8_t> data;
    /// Free for the client's use; the library leaves both unset.
    std::optional<std::unordered_map<std::string, std::string>> properties;
    std::optional<std::vector<uint32_t>> values;
};

/// How the cameras are shared among their purposes.
struct MuxMode {
    std::string name;
    /// The mode to fall back to when a camera fails; empty if there is none.
    std::string secondaryName;
    /// The purposes that the mode serves.
    std::vector<std::string> purposes;
    /// Free for the client's use; the library leaves it empty.
    std::vector<uint32_t> reserved;
    /// Keyed by purpose. If the service names a purpose twice, the last entry counts.
    std::unordered_map<std::string, PurposeData> purposeData;
    /// Keyed by purpose: the data of the secondary mode.
    std::unordered_map<std::string, PurposeData> secondaryPurposeData;
};

/// A mux mode and the camera settings that belong to it.
struct FrameSetConfigurationUpdate {
    /// Number of this mux state, counted by the service; FrameSet::muxState refers to it.
    uint32_t header{};
    /// When the mux state takes effect: CLOCK_MONOTONIC, in ns.
    uint64_t value{};
    MuxMode muxMode;
    std::vector<CameraGlobalConfiguration> globalConfigurations;
    std::vector<SlotConfiguration> slotConfigurations;
};

}  // namespace Vek::Sensors
