// The account of the frame sets that one client was given and has to give back.
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
        /// It is not what was handed out, or never was.
        ALTERED,
        /// It had come back before.
        TWICE,
    };

    bool isFull() const { return outstanding_.size() >= kMaxOutstanding; }

    void handOut(const Hidl::FrameSet& frameSet);

    /// A frame set is known by its sequence number if it is not the same any more.
    Verdict takeBack(const Hidl::FrameSet& returned);

    size_t outstanding() const { return outstanding_.size(); }

    /// Whether a frame set that is out has its images in the buffers of that index.
    bool holds(uint32_t bufferIndex) const;

  private:
    std::vector<Hidl::FrameSet> outstanding_;
    bool isFirst_ = true;
    // Of all that were handed out.
    uint32_t firstSequence_ = 0;
    uint32_t lastSequence_ = 0;
};

}  // namespace Simulator
