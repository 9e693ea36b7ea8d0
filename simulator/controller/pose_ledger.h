// The check of the poses that the owner of the controllers' state sends.
#pragma once

#include <cstdint>
#include <map>

#include "hal.h"

namespace Simulator {

struct PoseCounts {
    uint64_t accepted = 0;
    /// Of no controller that is paired, or no poses at all.
    uint64_t refused = 0;
    /// Older than the one before.
    uint64_t misordered = 0;
    /// Numbers that were left out.
    uint64_t missing = 0;

    PoseCounts& operator+=(const PoseCounts& other);
};

/// Whether its numbers are finite and its quaternion turns.
bool isPose(const Hidl::PoseOutput& pose);

/// Follows the sequence numbers of one sender's poses, for each controller on its own.
class PoseLedger {
  public:
    /// Enters a pose of a paired controller.
    void enter(const Hidl::PoseOutput& pose);
    void enterRefused() { ++counts_.refused; }

    const PoseCounts& counts() const { return counts_; }

  private:
    std::map<uint64_t, uint32_t> last_;
    PoseCounts counts_;
};

}  // namespace Simulator
