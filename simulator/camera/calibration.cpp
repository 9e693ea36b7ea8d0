#include "camera/calibration.h"

#include <cutils/ashmem.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cstdint>

#include "owned_handle.h"

namespace Simulator {
namespace {

int regionOf(const std::string& text) {
    const size_t size = text.size() + 1;
    const int region = ashmem_create_region("camera calibration", size);
    if (region >= 0 && pwrite(region, text.c_str(), size, 0) != static_cast<ssize_t>(size)) {
        close(region);
        return -1;
    }
    return region;
}

}  // namespace

std::string factoryCalibration(const CameraStreamPlan& stream, const CameraPlan& camera) {
    const bool isFisheye = camera.lens.model == Lens::Model::EQUIDISTANT;
    Eigen::Matrix4d bodyFromCamera = Eigen::Matrix4d::Identity();
    bodyFromCamera.topLeftCorner<3, 3>() = camera.mount.orientation.toRotationMatrix();
    bodyFromCamera.topRightCorner<3, 1>() = camera.mount.position;
    const Eigen::Matrix4d columns = bodyFromCamera.transpose();  // bodyFromCamera, row by row
    // fmt writes doubles with enough digits to read back exactly.
    return fmt::format(
        R"({{"camera": {}, "name": "{}", "width": {}, "height": {}, "rate": {}, "rowTime": {}, )"
        R"("model": "pinhole", "intrinsics": [{}], "distortionModel": "{}", )"
        R"("distortion": [{}], "T_BS": [{}]}})",
        camera.id, camera.name, stream.width, stream.height,
        static_cast<uint32_t>(stream.frameRate), stream.rowTime,
        fmt::join(camera.lens.intrinsics, ", "), isFisheye ? "equidistant" : "radial-tangential",
        fmt::join(camera.lens.distortion, ", "),
        fmt::join(columns.data(), columns.data() + columns.size(), ", "));
}

std::string deviceCalibration(const CameraPlan& camera, const ImuSettings& imu,
                              const std::vector<std::string>& sessionData) {
    std::string names;
    for (const std::string& name : sessionData) {
        names += fmt::format(R"({}"{}")", names.empty() ? "" : ", ", name);
    }
    return fmt::format(
        R"({{"camera": {}, "imu": {{"gyroscopeNoiseDensity": {}, "gyroscopeRandomWalk": {}, )"
        R"("accelerometerNoiseDensity": {}, "accelerometerRandomWalk": {}}}, "sessions": [{}]}})",
        camera.id, imu.gyroscope.noiseDensity, imu.gyroscope.randomWalk,
        imu.accelerometer.noiseDensity, imu.accelerometer.randomWalk, names);
}

android::hardware::hidl_handle calibrationHandle(const std::string& factory,
                                                 const std::string& device) {
    return ownedHandle({regionOf(factory), regionOf(device)});
}

}  // namespace Simulator
