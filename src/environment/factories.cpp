// The entry points of the light sensor, the LEDs, external timing and KivraRpc.
#include <vek/sensors/factories.h>

#include <memory>
#include <string>

#include "environment/external_timing_provider.h"
#include "environment/face_eye_tracking_led.h"
#include "environment/flicker_sensor_provider.h"
#include "environment/tamb_stream.h"
#include "foundation/bind_service.h"

namespace Vek::Sensors {

std::unique_ptr<IFlickerSensorProvider> createFlickerSensor(
    android::sp<Hidl::IFlickerSensor> service) {
    if (service == nullptr) {
        // Not every device has a light sensor, so the look-up must not wait for its service.
        service = Hidl::IFlickerSensor::tryGetService(std::string{"default"}, false);
    }
    if (service == nullptr) {
        MORIAK_LOG_ERROR("IFlickerSensor HAL service not running");
        return nullptr;
    }
    return std::make_unique<HidlWrapper::FlickerSensorProvider>(service);
}

std::unique_ptr<IFaceEyeTrackingLed> createFaceEyeTrackingLed() {
    // The constructor looks the service up again; this only checks that it runs.
    if (Hidl::IFaceEyeTrackingLed::getService(std::string{"default"}, false) == nullptr) {
        return nullptr;
    }
    return std::make_unique<HidlWrapper::FaceEyeTrackingLed>();
}

std::unique_ptr<IExternalTimingProvider> createExternalTimingProvider() {
    return HidlWrapper::createForDefaultService<HidlWrapper::ExternalTimingProvider,
                                                Hidl::IExternalTimingProvider>();
}

std::unique_ptr<ITambStream> createTambStream() {
    return HidlWrapper::createForDefaultService<HidlWrapper::TambStream, Hidl::ITambril>();
}

}  // namespace Vek::Sensors
