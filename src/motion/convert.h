// Motion records between the HAL's form and the API's.
#pragma once

#include <vek/sensors/motion.h>

#include "foundation/hal.h"

namespace Vek::Sensors::Convert {

MotionSensorInfo fromHidl(const Hidl::MotionSensorInfo& info);
MotionSensorMetadata fromHidl(const Hidl::MotionSensorMetadata& metadata);
MotionSensorProperties fromHidl(const Hidl::MotionSensorProperties& properties);
Hidl::MotionStreamProperties intoHidl(const MotionStreamProperties& properties);

}  // namespace Vek::Sensors::Convert
