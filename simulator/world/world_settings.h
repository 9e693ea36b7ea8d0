// Settings of the simulated world and of its sensors' errors.
#pragma once

#include <cstdint>
#include <string>

namespace Simulator {

struct WorldSettings {
    uint64_t seed = 1;
    // Files; empty: none.
    std::string trajectory;
    std::string sensors;
    std::string groundTruth;
    /// Motion sensors have no errors.
    bool isIdeal = false;
};

}  // namespace Simulator
