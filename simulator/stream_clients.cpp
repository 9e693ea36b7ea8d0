#include "stream_clients.h"

#include <fmt/format.h>

namespace Simulator {

std::string summaryOf(const std::string& name, const StreamStatistics& statistics) {
    std::string line =
        fmt::format("{}: {} records written to {} clients, {} dropped", name,
                    statistics.recordsWritten, statistics.clients, statistics.recordsDropped);
    if (statistics.samplesMissed > 0) {
        line += fmt::format(" ({} samples were not taken: the machine was too busy)",
                            statistics.samplesMissed);
    }
    return line;
}

}  // namespace Simulator
