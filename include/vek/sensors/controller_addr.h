// The address of a hand controller.
#pragma once

#include <cstdint>

namespace Vek::Sensors {

/// Names one controller to the service. Opaque: compare it, keep it, pass it on. Zero names none.
enum class ControllerAddr : uint64_t {};

}  // namespace Vek::Sensors
