// Proves at compile time that the motion records have the same layout in the HAL and in the API.
#include <vek/sensors/motion.h>

#include "foundation/same_layout.h"

namespace Vek::Sensors {

MORIAK_SAME_LAYOUT(ImuData, 64);
MORIAK_SAME_LAYOUT(MagData, 40);
MORIAK_SAME_LAYOUT(IadData, 4);
MORIAK_SAME_LAYOUT(MotionSensorInfo, 8);
MORIAK_SAME_LAYOUT(MotionStreamProperties, 8);

}  // namespace Vek::Sensors
