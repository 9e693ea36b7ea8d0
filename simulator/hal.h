// The HAL package's namespace and the log tag, in short.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/types.h>

#define LOG_TAG "SensorSimulator"

namespace Simulator {

namespace Hidl = ::vendor::zelvan::hardware::sensors::V1_0;

}  // namespace Simulator
