// Checks and counts the poses that the owner of the controllers' state sends.
#pragma once

#include <cstdint>
#include <map>

#include "hal.h"

namespace Simulator {

struct PoseCounts {
    uint64_t accepted = 0;
    /// Poses of controllers that are not paired, and invalid poses.
    uint64_t refused = 0;
    /// Poses that are older than the one before.
    uint64_t misordered = 0;
    /// Gaps in the sequence numbers.
    uint64_t missing = 0;

    PoseCounts& operator+=(const PoseCounts& other);
};

/// Whether the pose is valid: finite numbers in range and a unit quaternion.
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
