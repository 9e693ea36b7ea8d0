#include "camera/frame_set_ledger.h"

#include <algorithm>
#include <cstring>

namespace Simulator {

void FrameSetLedger::handOut(const Hidl::FrameSet& frameSet) {
    if (isFirst_) {
        isFirst_ = false;
        firstSequence_ = frameSet.sequence;
    }
    lastSequence_ = frameSet.sequence;
    outstanding_.push_back(frameSet);
}

FrameSetLedger::Verdict FrameSetLedger::takeBack(const Hidl::FrameSet& returned) {
    const auto found =
        std::find_if(outstanding_.begin(), outstanding_.end(),
                     [&](const Hidl::FrameSet& out) { return out.sequence == returned.sequence; });
    if (found != outstanding_.end()) {
        static_assert(sizeof(Hidl::FrameSet) == 744, "without padding, all bytes count");
        // A frame set must be returned bit for bit.
        // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
        const bool isIntact = std::memcmp(&*found, &returned, sizeof(returned)) == 0;
        outstanding_.erase(found);
        return isIntact ? Verdict::INTACT : Verdict::ALTERED;
    }
    // Sequence numbers wrap.
    const bool wasOut =
        !isFirst_ && returned.sequence - firstSequence_ <= lastSequence_ - firstSequence_;
    return wasOut ? Verdict::TWICE : Verdict::ALTERED;
}

bool FrameSetLedger::holds(uint32_t bufferIndex) const {
    return std::any_of(outstanding_.begin(), outstanding_.end(), [&](const Hidl::FrameSet& out) {
        return out.frames[0].bufferIndex == bufferIndex;
    });
}

}  // namespace Simulator
