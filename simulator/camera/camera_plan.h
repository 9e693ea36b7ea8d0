// The simulated cameras as data: their sensors, lenses, mounts and rates.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hal.h"
#include "world/geometry.h"
#include "world/lens.h"

namespace Simulator {

struct CameraPlan {
    uint32_t id;
    std::string name;
    /// At full resolution.
    Lens lens;
    /// Body (the headset's axes) from camera.
    Pose mount;
};

/// Cameras of one kind, which expose together.
struct CameraStreamPlan {
    std::string name;
    Hidl::FrameType frameType;
    /// Its name in mux modes and in calls of clients.
    std::string purpose;
    std::string sensorModel;
    std::vector<CameraPlan> cameras;
    Hidl::FrameRate frameRate;
    Hidl::PixelFormat pixelFormat;
    // Size of the sensors in pixels.
    uint32_t width;
    uint32_t height;
    /// From the exposure of one row to that of the next, in ns, at any resolution; 0 for a global
    /// shutter.
    uint32_t rowTime = 0;
};

const std::vector<CameraStreamPlan>& cameraStreamPlans();

/// Limits of all sensors. Times in ns.
struct ExposureLimits {
    uint64_t minExposureTime = 50'000;
    uint64_t maxExposureTime = 12'000'000;
    float minGain = 1;
    float maxAnalogGain = 8;
    float maxDigitalGain = 4;
};

/// Result of the automatic exposure in the usual light with a 50 Hz mains.
constexpr Hidl::ExposureGain kAutomaticExposure{10'000'000, 1.2F, 1};

/// Distance in m from an eye camera to the middle of the eyeball, which lies on its axis.
inline constexpr double kEyeCameraDistance = 0.045;

/// The images of a sensor at a resolution.
struct ImageGeometry {
    uint32_t width;
    uint32_t height;
    /// In bytes.
    uint32_t stride;
};

uint32_t bytesPerPixel(Hidl::PixelFormat format);
ImageGeometry geometryOf(const CameraStreamPlan& plan, Hidl::Resolution resolution);

/// Size in bytes of an image at full resolution, the largest.
size_t largestImage(const CameraStreamPlan& plan);

}  // namespace Simulator
