// The entry point of the cameras.
#include <vek/sensors/factories.h>

#include <memory>

#include "camera/camera_provider.h"
#include "foundation/bind_service.h"

namespace Vek::Sensors {

std::unique_ptr<ICameraProvider> createCameraProvider() {
    return HidlWrapper::createForDefaultService<HidlWrapper::CameraProvider,
                                                Hidl::ICameraProvider>();
}

}  // namespace Vek::Sensors
