// What a user chooses of the headset's surroundings.
#pragma once

#include <cstdint>
#include <vector>

namespace Simulator {

struct EnvironmentSettings {
    /// Of the room's lamps, twice that of the mains, in Hz; 0: they burn steadily.
    uint32_t flickerFrequency = 100;
    /// Of the room on average, in lx.
    double illuminance = 300;
    /// What the controllers answer with an error.
    std::vector<uint32_t> refusedProcedures;
    /// How many messages a second each controller sends unasked to each client.
    uint32_t notificationRate = 1;
};

}  // namespace Simulator
