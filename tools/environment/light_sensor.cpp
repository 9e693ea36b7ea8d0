// Apart, because the factory's signature has a type of the HAL.
#include "environment/light_sensor.h"

#include <vek/sensors/factories.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

std::unique_ptr<Vek::Sensors::IFlickerSensorProvider> findLightSensor() {
    return Vek::Sensors::createFlickerSensor(nullptr);
}
