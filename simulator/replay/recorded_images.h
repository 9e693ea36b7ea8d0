// The images and the calibration of a recording's cameras.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "camera/image_source.h"
#include "recording/reader.h"

namespace Simulator {

/// Call setNext before draw, on the same thread.
class RecordedImages : public ImageSource {
  public:
    explicit RecordedImages(std::shared_ptr<const Recording::Reader> recording);

    /// @param camera number of the camera
    void setNext(uint32_t camera, std::filesystem::path file);

    /// Logs images that cannot be read, at the first failure, the second, the fourth, ...
    bool draw(const ImageRequest& request, const PixelPlane& plane) override;
    CalibrationTexts calibration(const CameraStreamPlan& stream, const CameraPlan& camera,
                                 const std::vector<std::string>& sessionData) const override;

  private:
    struct Camera {
        CalibrationTexts calibration;
        std::filesystem::path next;
        uint64_t failures = 0;
    };

    /// By number; the map itself does not change.
    std::map<uint32_t, Camera> cameras_;
};

}  // namespace Simulator
