// Obsolete entry points, kept so that old programs link. Each of them aborts.
#include <vek/sensors/factories.h>

#include <memory>

#include "foundation/log.h"

namespace Vek::Sensors {
namespace {

[[noreturn]] void refuseLegacySensor() {
    MORIAK_FATAL("HidlWrapper cannot instantate legacy sensor");
}

}  // namespace

std::unique_ptr<ICameraProvider> createLegacyCameraProvider() {
    refuseLegacySensor();
}
std::unique_ptr<IMotionSensorProvider> createLegacyMotionSensorProvider() {
    refuseLegacySensor();
}
std::unique_ptr<IImuSensor> createLegacyImuSensor() {
    refuseLegacySensor();
}
std::unique_ptr<IMagSensor> createLegacyMagSensor() {
    refuseLegacySensor();
}
std::unique_ptr<IIadSensor> createLegacyIadSensor() {
    refuseLegacySensor();
}

}  // namespace Vek::Sensors
