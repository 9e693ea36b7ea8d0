// Settings of the headset's surroundings.
#pragma once

#include <cstdint>
#include <vector>

namespace Simulator {

struct EnvironmentSettings {
    /// Frequency of the lamps' flicker, twice that of the mains, in Hz; 0: steady light.
    uint32_t flickerFrequency = 100;
    /// Mean illuminance of the room, in lx.
    double illuminance = 300;
    /// Procedures to which controllers reply with an error.
    std::vector<uint32_t> refusedProcedures;
    /// Notifications a second that each controller sends to each client.
    uint32_t notificationRate = 1;
};

}  // namespace Simulator
