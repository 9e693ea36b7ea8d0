// The trials: what can be chosen, and how they are run. Each returns the program's exit code.
#pragma once

#include <cstdint>

namespace Soak {

struct DeathsSettings {
    /// Every round follows from this and its own number.
    uint32_t seed = 1;
    uint32_t firstRound = 0;
    uint32_t rounds = 1000;
};

/// Kills the service or a client, round by round, at random moments under load.
int soakDeaths(const DeathsSettings& settings);

}  // namespace Soak
