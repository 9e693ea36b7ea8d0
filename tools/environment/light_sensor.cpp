// Separate, because the factory's signature contains a HAL type.
#include "environment/light_sensor.h"

#include <vek/sensors/factories.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

std::unique_ptr<Vek::Sensors::IFlickerSensorProvider> findLightSensor() {
    return Vek::Sensors::createFlickerSensor(nullptr);
}
