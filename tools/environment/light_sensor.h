// The light sensor, found.
#pragma once

#include <vek/sensors/flicker.h>

#include <memory>

/// Empty if its service does not run.
std::unique_ptr<Vek::Sensors::IFlickerSensorProvider> findLightSensor();
