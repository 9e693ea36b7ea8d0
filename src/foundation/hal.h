// The name of the HAL package inside the library.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/types.h>

namespace Vek::Sensors {

namespace Hidl = ::vendor::zelvan::hardware::sensors::V1_0;

}  // namespace Vek::Sensors
