// The user's settings of the hand controllers.
#pragma once

#include <optional>

namespace Simulator {

struct ControllerSettings {
    /// How long a firmware update takes, in s.
    double firmwareSeconds = 4;
    /// The progress at which every firmware update fails, 0 to 1.
    std::optional<float> firmwareFailsAt;
};

}  // namespace Simulator
