// The account of the frame sets that one client has received and must return.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hal.h"

namespace Simulator {

/// Threading: one thread at a time.
class FrameSetLedger {
  public:
    /// One in the client's queue and one in its hands.
    static constexpr size_t kMaxOutstanding = 2;

    enum class Verdict {
        INTACT,
        /// It differs from what was handed out, or was never handed out.
        ALTERED,
        /// It was returned before.
        TWICE,
    };

    bool isFull() const { return outstanding_.size() >= kMaxOutstanding; }

    void handOut(const Hidl::FrameSet& frameSet);

    /// Identifies an altered frame set by its sequence number.
    Verdict takeBack(const Hidl::FrameSet& returned);

    size_t outstanding() const { return outstanding_.size(); }

    /// Whether the client holds a frame set with this buffer index.
    bool holds(uint32_t bufferIndex) const;

  private:
    std::vector<Hidl::FrameSet> outstanding_;
    bool isFirst_ = true;
    // Range of all frame sets that were handed out.
    uint32_t firstSequence_ = 0;
    uint32_t lastSequence_ = 0;
};

}  // namespace Simulator
