// Looks up cameras at the service.
#include "camera/camera_access.h"

#include <fmt/format.h>

#include <vector>

#include "names.h"

using namespace Vek::Sensors;

CameraProperties findCamera(ICameraProvider& provider, const std::string& wanted) {
    std::vector<CameraProperties> cameras = provider.getProperties();
    std::vector<std::string> names;
    for (const CameraProperties& camera : cameras) {
        if (wanted == fmt::format("{}", camera.cameraId)) {
            return camera;
        }
        names.push_back(camera.propertyText1);
    }
    return cameras[chooseName(names, wanted, "--camera")];
}
