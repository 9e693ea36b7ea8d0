// Faults that a developer asks the service to have.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <string>

#include "hal.h"

namespace Simulator {

struct FaultSettings {
    /// What calls answer in place of SUCCESS, by "interface.method", such as "IImu.controlStream".
    /// A control call does nothing then; a getter answers with its data all the same, or with
    /// nothing if it has no result.
    std::map<std::string, Hal::Result> results;
    /// After how many records, written into any queue, the process dies; 0: never.
    uint64_t dieAfterRecords = 0;
};

/// Threading: every method may be called from any thread.
class Faults {
  public:
    explicit Faults(FaultSettings settings) : settings_(std::move(settings)) {}

    /// What the call is to answer: SUCCESS unless a fault was asked for.
    /// @param call "Interface.method"
    Hal::Result resultOf(const std::string& call) const;

    /// Kills the process when the records are enough.
    void countWritten(uint64_t records);

  private:
    const FaultSettings settings_;
    std::atomic<uint64_t> recordsWritten_{0};
};

/// Ends the process as a crash would, without any clean-up.
[[noreturn]] void die();

}  // namespace Simulator
