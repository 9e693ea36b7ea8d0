// What to play back, and how.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Simulator {

struct ReplayOptions {
    /// Empty: nothing is played back, the world is simulated.
    std::filesystem::path directory;
    bool isLooped = false;
    /// Where to begin, in s of the recording.
    double start = 0;
    /// Names of streams, as sensorctl has them; empty: all that were recorded.
    std::vector<std::string> streams;
    /// Records keep their recorded times instead of being moved to when they are played.
    bool areTimestampsKept = false;
};

}  // namespace Simulator
