// The library's entry points.
//
// Each factory looks up the service's instance "default" and returns an object that the caller
// owns, or an empty pointer if there is no such service. Whether there is one depends on the
// system:
// - On the device, a service that the device's manifest declares but that is not running yet is
//   waited for; the runtime logs a line each second. One that is not declared is answered with an
//   empty pointer at once and without logging.
// - On the workstation no manifest is needed: a service that is not running is answered with an
//   empty pointer at once and without logging.
//
// createFlickerSensor never waits. Factories may be called from any thread.
#pragma once

#include <vek/sensors/camera.h>
#include <vek/sensors/controller_state.h>
#include <vek/sensors/export.h>
#include <vek/sensors/external_timing.h>
#include <vek/sensors/face_eye_tracking_led.h>
#include <vek/sensors/flicker.h>
#include <vek/sensors/motion.h>
#include <vek/sensors/stream.h>
#include <vek/sensors/tamb_stream.h>

#include <memory>

// One factory can take a service that its caller holds. Only a program that calls it needs the
// HAL's own header, <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>, and links Moriak::hal.
namespace android {
template <typename T>
class sp;
}  // namespace android
namespace vendor::zelvan::hardware::sensors::V1_0 {
struct IFlickerSensor;
}  // namespace vendor::zelvan::hardware::sensors::V1_0

namespace Vek::Sensors {

VEK_SENSORS_EXPORT std::unique_ptr<ICameraProvider> createCameraProvider();
VEK_SENSORS_EXPORT std::unique_ptr<IMotionSensorProvider> createMotionSensorProvider();
VEK_SENSORS_EXPORT std::unique_ptr<IImuSensor> createImuSensor();
VEK_SENSORS_EXPORT std::unique_ptr<IMagSensor> createMagSensor();
VEK_SENSORS_EXPORT std::unique_ptr<IIadSensor> createIadSensor();

/// Looks the service up twice: for whether there is one, and for the object. If the service ends in
/// between, the second look-up ends the process, since the object cannot be without one; on the
/// device, it waits for the next service instead.
VEK_SENSORS_EXPORT std::unique_ptr<IFaceEyeTrackingLed> createFaceEyeTrackingLed();

VEK_SENSORS_EXPORT std::unique_ptr<IExternalTimingProvider> createExternalTimingProvider();
VEK_SENSORS_EXPORT std::unique_ptr<ITambStream> createTambStream();

/// @param service used as it is, without a look-up. If it is null, the running service is looked up
/// without waiting, since not every device has this sensor; an error is logged if the service is
/// not found.
VEK_SENSORS_EXPORT std::unique_ptr<IFlickerSensorProvider> createFlickerSensor(
    android::sp<vendor::zelvan::hardware::sensors::V1_0::IFlickerSensor> service);

/// For the program that owns the controllers' state. One that uses the controllers constructs a
/// HidlWrapper::ControllerProvider (controller_provider.h).
VEK_SENSORS_EXPORT std::unique_ptr<IControllerStateProvider> createControllerStateProvider();

/// Needs no service; never returns an empty pointer.
VEK_SENSORS_EXPORT std::unique_ptr<IStreamCompositor> createStreamCompositor();

/// The legacy factories exist so that programs built against them still link. Each aborts the
/// process.
VEK_SENSORS_EXPORT std::unique_ptr<ICameraProvider> createLegacyCameraProvider();
VEK_SENSORS_EXPORT std::unique_ptr<IMotionSensorProvider> createLegacyMotionSensorProvider();
VEK_SENSORS_EXPORT std::unique_ptr<IImuSensor> createLegacyImuSensor();
VEK_SENSORS_EXPORT std::unique_ptr<IMagSensor> createLegacyMagSensor();
VEK_SENSORS_EXPORT std::unique_ptr<IIadSensor> createLegacyIadSensor();

}  // namespace Vek::Sensors
