// The address of a hand controller.
#pragma once

#include <cstdint>

namespace Vek::Sensors {

/// Identifies one controller to the service. Opaque: it can be compared, stored and passed to
/// calls. Zero means no controller.
enum class ControllerAddr : uint64_t {};

}  // namespace Vek::Sensors
