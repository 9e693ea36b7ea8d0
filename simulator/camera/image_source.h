// Where the pixels of the simulated cameras come from.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "camera/camera_plan.h"
#include "hal.h"

namespace Simulator {

/// Memory of an image, of the size and format that the stream has at some resolution.
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
    /// Of the frame, as clients get it.
    uint32_t sequence;
    /// Middle of the middle row's exposure, in ns since the world's start.
    int64_t worldTime;
    Hidl::ExposureGain exposure;
};

struct CalibrationTexts {
    std::string factory;
    std::string device;
};

/// Threading: draw is called on one thread for each stream, at the same time for several of them;
/// the rest on any thread.
class ImageSource {
  public:
    ImageSource() = default;
    virtual ~ImageSource() = default;
    ImageSource(const ImageSource&) = delete;
    ImageSource& operator=(const ImageSource&) = delete;

    /// Makes what draw needs at full resolution, so that the first image is not late.
    virtual void prepare(const CameraStreamPlan& /*stream*/) {}

    /// Fills the plane; the bytes between its rows stay as they are.
    /// @return false if there is no such image
    virtual bool draw(const ImageRequest& request, const PixelPlane& plane) = 0;

    /// The calibration of the camera that draw has at full resolution, for clients.
    /// @param sessionData names of what clients have written of online calibration
    virtual CalibrationTexts calibration(const CameraStreamPlan& stream, const CameraPlan& camera,
                                         const std::vector<std::string>& sessionData) const = 0;

    /// How bright what the cameras see is, for the automatic exposure; 1 in the usual light.
    virtual double brightness(int64_t /*worldTime*/) const { return 1; }
};

}  // namespace Simulator
