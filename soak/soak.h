// The trials and their settings. Each returns the program's exit code.
#pragma once

#include <cstdint>

namespace Soak {

struct DeathsSettings {
    /// Each round depends only on this and its own number.
    uint32_t seed = 1;
    uint32_t firstRound = 0;
    uint32_t rounds = 1000;
};

/// Kills the service or a client, round by round, at random moments under load.
int soakDeaths(const DeathsSettings& settings);

struct ClientsSettings {
    uint32_t clients = 100;
    double minutes = 10;
    /// Samples of a motion sensor that come together; each time, every client has to run.
    uint32_t motionBatch = 10;
    /// Builds with sanitizers keep what was freed.
    bool ignoresMemory = false;
};

/// Runs many streaming clients at once: no record may be lost, and no resource may grow after the
/// first minute.
int soakClients(const ClientsSettings& settings);

}  // namespace Soak
