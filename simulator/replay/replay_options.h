// Settings of playback.
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
    /// Whether records keep their recorded times instead of those of the playback.
    bool areTimestampsKept = false;
};

}  // namespace Simulator
