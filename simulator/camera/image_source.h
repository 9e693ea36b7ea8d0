// Where the pixels of the simulated cameras come from.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "camera/camera_plan.h"
#include "hal.h"

namespace Simulator {

/// Memory of one image, in the stream's format and one of its sizes.
struct PixelPlane {
    uint8_t* pixels;
    Hidl::PixelFormat format;
    // In pixels.
    uint32_t width;
    uint32_t height;
    /// From one row to the next, in bytes.
    uint32_t stride;
};

/// One frame of one camera.
struct ImageRequest {
    const CameraStreamPlan& stream;
    const CameraPlan& camera;
    /// The frame's sequence number, as clients get it.
    uint32_t sequence;
    /// Middle of the middle row's exposure, in ns since the world's start.
    int64_t worldTime;
    Hidl::ExposureGain exposure;
};

struct CalibrationTexts {
    std::string factory;
    std::string device;
};

/// Threading: draw is called concurrently for different streams, but on one thread for each; the
/// others on any thread.
class ImageSource {
  public:
    ImageSource() = default;
    virtual ~ImageSource() = default;
    ImageSource(const ImageSource&) = delete;
    ImageSource& operator=(const ImageSource&) = delete;

    /// Prepares what draw needs at full resolution, so that the first image is not late.
    virtual void prepare(const CameraStreamPlan& /*stream*/) {}

    /// Draws into the plane; leaves the bytes between its rows unchanged.
    /// @return false if there is no such image
    virtual bool draw(const ImageRequest& request, const PixelPlane& plane) = 0;

    /// The calibration texts for clients, which describe draw at full resolution.
    /// @param sessionData names under which clients have written online calibration
    virtual CalibrationTexts calibration(const CameraStreamPlan& stream, const CameraPlan& camera,
                                         const std::vector<std::string>& sessionData) const = 0;

    /// Brightness of the scene, for the automatic exposure; 1 in the usual light.
    virtual double brightness(int64_t /*worldTime*/) const { return 1; }
};

}  // namespace Simulator
