// How controllers are told apart.
#pragma once

#include <cstdint>

namespace Vek::Sensors {

/// The address of one controller. It has no structure that clients may rely on.
using ControllerAddr = uint64_t;

}  // namespace Vek::Sensors
