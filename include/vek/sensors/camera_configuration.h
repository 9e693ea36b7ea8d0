// How cameras are set up: their static description, exposure, streams and mux modes.
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

/// Enumerations that come from the service are carried as they came and may hold values that have
/// no name here.

/// Frequency of the mains that lamps flicker with.
enum class UtilityFrequency : uint32_t {
    UNKNOWN = 0,
    FREQUENCY_50_HZ = 1,
    FREQUENCY_60_HZ = 2,
};

/// In frames a second.
enum class FrameRate : uint32_t {
    /// The rate that the mux mode has for the frame type.
    DEFAULT = 0,
    FPS_15 = 15,
    FPS_30 = 30,
    FPS_60 = 60,
    FPS_90 = 90,
};

/// What the exposures of a camera keep time with.
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
    /// Names the camera in all other records.
    uint32_t cameraId{};
    /// The camera's name.
    std::string propertyText1;
    /// The model of its sensor.
    std::string propertyText2;
    /// Calibration of the factory; empty if unavailable. As large as the service makes it, up to
    /// 2 GiB: the library sets no limit.
    std::string calibrationData1;
    /// Calibration of the device's use; empty if unavailable. As large as the service makes it.
    std::string calibrationData2;
};

struct ChannelSettings {
    /// Frames of other types are not captured.
    std::vector<FrameType> channels;
};

/// The rate at one place is that of the frame type at the same place. The lengths are not compared
/// on their way to the service.
struct FrameRateSettings {
    std::vector<FrameRate> frameRates;
    std::vector<FrameType> frameTypes;
};

/// Exposure of one camera (16 bytes).
struct ExposureGain {
    /// In ns.
    uint64_t exposureTime;
    /// Factors; 1 amplifies nothing.
    float analogGain;
    float digitalGain;
};

/// For the cameras of a stream, in the order of its metadata (168 bytes).
struct ExposureGainSettings {
    /// Entries that count; the others are not sent.
    uint32_t numCameras;
    std::array<ExposureGain, kMaxFrameSetSize> cameras;
};

struct CameraMetadata {
    uint32_t cameraId{};
    /// What CameraFrame::bufferIndex counts.
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

/// What a camera of a stream is set to and can be set to (112 bytes).
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
    /// As ICameraStream's setPhaseOffset has set it, in ns.
    uint64_t phaseOffset;
    float minAnalogGain;
    float maxAnalogGain;
    float minDigitalGain;
    float maxDigitalGain;
    /// The part of the sensor that the images show, in the sensor's pixels.
    uint32_t cropLeft;
    uint32_t cropTop;
    uint32_t cropWidth;
    uint32_t cropHeight;
    /// Of the whole sensor, in pixels.
    uint32_t sensorWidth;
    uint32_t sensorHeight;
    /// In ns; 0 for a global shutter.
    uint32_t rowTime;
    /// By which images are turned clockwise against the headset's upright, in degrees.
    uint32_t rotation;
    /// Sensor pixels a side that make up a pixel of the images.
    uint32_t binning;
    /// Image buffers of the camera.
    uint32_t numBuffers;
};

struct CameraStreamConfiguration {
    std::vector<CameraConfiguration> cameras;
    /// Frame sets a second.
    uint32_t frameSetRate{};
};

/// What holds for a camera in all slots of a mux mode (64 bytes).
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

/// A camera in one slot of a mux mode (56 bytes).
struct CameraPerSlotConfiguration {
    uint32_t cameraId;
    /// What the images of the slot are for.
    FrameType frameType;
    /// In ns; 0 leaves it to the automatic control.
    uint64_t exposureTime;
    float analogGain;
    float digitalGain;
    /// From the start of the slot to the exposure, in ns.
    uint64_t exposureOffset;
    /// The part of the sensor that is read, in its pixels.
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

/// What one purpose has to say about a mux mode.
struct PurposeData {
    /// In a form that its consumers know.
    std::vector<uint8_t> data;
    /// For clients; the library leaves both unset.
    std::optional<std::unordered_map<std::string, std::string>> properties;
    std::optional<std::vector<uint32_t>> values;
};

/// How the cameras are shared out among their purposes.
struct MuxMode {
    std::string name;
    /// The mode to fall back to when a camera fails; empty if there is none.
    std::string secondaryName;
    /// The ones that are served.
    std::vector<std::string> purposes;
    /// For clients; the library leaves it empty.
    std::vector<uint32_t> reserved;
    /// By purpose. Of a purpose that the service names twice, the last one counts.
    std::unordered_map<std::string, PurposeData> purposeData;
    /// For the purposes as the secondary mode serves them.
    std::unordered_map<std::string, PurposeData> secondaryPurposeData;
};

/// A mux mode and how the cameras are set up for it.
struct FrameSetConfigurationUpdate {
    /// Counts the mux states of the service; FrameSet::muxState names one by it.
    uint32_t header{};
    /// From when on it holds: CLOCK_MONOTONIC, in ns.
    uint64_t value{};
    MuxMode muxMode;
    std::vector<CameraGlobalConfiguration> globalConfigurations;
    std::vector<SlotConfiguration> slotConfigurations;
};

}  // namespace Vek::Sensors
