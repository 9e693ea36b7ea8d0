// The entry points of the motion sensors.
#include <vek/sensors/factories.h>

#include <memory>

#include "foundation/bind_service.h"
#include "motion/motion_sensor_provider.h"
#include "motion/motion_sensors.h"

namespace Vek::Sensors {

std::unique_ptr<IMotionSensorProvider> createMotionSensorProvider() {
    return HidlWrapper::createForDefaultService<HidlWrapper::MotionSensorProvider,
                                                Hidl::IMotionSensorProvider>();
}

std::unique_ptr<IImuSensor> createImuSensor() {
    return HidlWrapper::createForDefaultService<HidlWrapper::ImuSensor, Hidl::IImu>();
}

std::unique_ptr<IMagSensor> createMagSensor() {
    return HidlWrapper::createForDefaultService<HidlWrapper::MagSensor, Hidl::IMag>();
}

std::unique_ptr<IIadSensor> createIadSensor() {
    return HidlWrapper::createForDefaultService<HidlWrapper::IadSensor, Hidl::IIad>();
}

}  // namespace Vek::Sensors
