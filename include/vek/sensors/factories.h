// The library's entry points.
//
// Each factory looks up the service's instance "default" and returns an object that the caller
// owns, or an empty pointer, at once and without logging, when that service is not running.
// Factories may be called from any thread.
#pragma once

#include <vek/sensors/export.h>
#include <vek/sensors/motion.h>
#include <vek/sensors/stream.h>

#include <memory>

namespace Vek::Sensors {

class ICameraProvider;

VEK_SENSORS_EXPORT std::unique_ptr<IMotionSensorProvider> createMotionSensorProvider();
VEK_SENSORS_EXPORT std::unique_ptr<IImuSensor> createImuSensor();
VEK_SENSORS_EXPORT std::unique_ptr<IMagSensor> createMagSensor();
VEK_SENSORS_EXPORT std::unique_ptr<IIadSensor> createIadSensor();

/// Needs no service; never returns an empty pointer.
VEK_SENSORS_EXPORT std::unique_ptr<IStreamCompositor> createStreamCompositor();

/// The legacy factories are there so that programs built against them still link. Each aborts the
/// process.
VEK_SENSORS_EXPORT std::unique_ptr<ICameraProvider> createLegacyCameraProvider();
VEK_SENSORS_EXPORT std::unique_ptr<IMotionSensorProvider> createLegacyMotionSensorProvider();
VEK_SENSORS_EXPORT std::unique_ptr<IImuSensor> createLegacyImuSensor();
VEK_SENSORS_EXPORT std::unique_ptr<IMagSensor> createLegacyMagSensor();
VEK_SENSORS_EXPORT std::unique_ptr<IIadSensor> createLegacyIadSensor();

}  // namespace Vek::Sensors
