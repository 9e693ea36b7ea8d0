// See calibration.h.
#include "camera/calibration.h"

#include <cutils/ashmem.h>
#include <fmt/format.h>
#include <unistd.h>

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
    // The cameras sit side by side on the headset's front, 2 cm from each other.
    const double x = 0.02 * camera.id - 0.06;
    return fmt::format(
        R"({{"camera": {}, "name": "{}", "width": {}, "height": {}, )"
        R"("model": "pinhole-radial", "focalLength": [{:.1f}, {:.1f}], )"
        R"("principalPoint": [{:.1f}, {:.1f}], "distortion": [-0.21, 0.046, -0.003], )"
        R"("position": [{:.3f}, 0.08, 0.0], "orientation": [1.0, 0.0, 0.0, 0.0]}})",
        camera.id, camera.name, stream.width, stream.height, 0.6 * stream.width, 0.6 * stream.width,
        0.5 * stream.width, 0.5 * stream.height, x);
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
