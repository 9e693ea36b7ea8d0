// An image is read when it is due.
#include "replay/recorded_images.h"

#include <log/log.h>

#include <cstring>
#include <stdexcept>
#include <utility>

#include "camera/calibration.h"
#include "recording/image.h"

namespace Simulator {
namespace {

/// Whether to log a failure of one camera's images: the first, the second, the fourth, ...
bool isToBeTold(uint64_t failures) {
    return (failures & (failures - 1)) == 0;
}

}  // namespace

RecordedImages::RecordedImages(std::shared_ptr<const Recording::Reader> recording) {
    for (const Recording::CameraInfo& camera : recording->cameras()) {
        cameras_[camera.cameraId].calibration = {camera.factoryCalibration,
                                                 camera.deviceCalibration};
    }
}

void RecordedImages::setNext(uint32_t camera, std::filesystem::path file) {
    cameras_.at(camera).next = std::move(file);
}

bool RecordedImages::draw(const ImageRequest& request, const PixelPlane& plane) {
    Camera& camera = cameras_.at(request.camera.id);
    try {
        const Recording::Image image = Recording::readPng(camera.next);
        const size_t rowSize = size_t{plane.width} * bytesPerPixel(plane.format);
        if (image.width != plane.width || image.height != plane.height ||
            static_cast<uint32_t>(image.format) != static_cast<uint32_t>(plane.format)) {
            throw std::runtime_error(camera.next.string() + ": is not like the camera's others");
        }
        for (uint32_t row = 0; row < plane.height; ++row) {
            std::memcpy(plane.pixels + size_t{row} * plane.stride,
                        image.pixels.data() + row * rowSize, rowSize);
        }
        return true;
    } catch (const std::exception& failure) {
        if (isToBeTold(++camera.failures)) {
            ALOGE("%s; %llu images of the camera could not be read so far", failure.what(),
                  static_cast<unsigned long long>(camera.failures));
        }
        return false;
    }
}

CalibrationTexts RecordedImages::calibration(
    const CameraStreamPlan& stream, const CameraPlan& camera,
    const std::vector<std::string>& /*sessionData*/) const {
    CalibrationTexts texts = cameras_.at(camera.id).calibration;
    if (texts.factory.empty()) {
        // Data sets of other programs have a calibration, but no text of it.
        texts.factory = factoryCalibration(stream, camera);
    }
    return texts;
}

}  // namespace Simulator
