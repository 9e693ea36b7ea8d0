// Times as records have them and as models count them.
#pragma once

#include <chrono>
#include <cstdint>

namespace Simulator {

/// Of CLOCK_MONOTONIC, in ns.
inline int64_t toNanoseconds(std::chrono::steady_clock::time_point time) {
    return std::chrono::nanoseconds(time.time_since_epoch()).count();
}

inline double toSeconds(int64_t nanoseconds) {
    return static_cast<double>(nanoseconds) * 1e-9;
}

}  // namespace Simulator
