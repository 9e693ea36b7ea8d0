// See faults.h.
#include "faults.h"

#include <unistd.h>

#include <csignal>

namespace Simulator {

Hal::Result Faults::resultOf(const std::string& call) const {
    const auto found = settings_.results.find(call);
    return found == settings_.results.end() ? Hal::Result::SUCCESS : found->second;
}

void Faults::countWritten(uint64_t records) {
    const uint64_t total = recordsWritten_.fetch_add(records) + records;
    if (settings_.dieAfterRecords > 0 && total >= settings_.dieAfterRecords) {
        die();
    }
}

void die() {
    kill(getpid(), SIGKILL);
    while (true) {
        pause();
    }
}

}  // namespace Simulator
