// Looks up the light sensor.
#pragma once

#include <vek/sensors/flicker.h>

#include <memory>

/// Empty if its service does not run.
std::unique_ptr<Vek::Sensors::IFlickerSensorProvider> findLightSensor();
