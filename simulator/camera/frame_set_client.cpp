#include "camera/frame_set_client.h"

#include <cutils/ashmem.h>
#include <log/log.h>

#include <algorithm>
#include <cstdint>

#include "owned_handle.h"

namespace Simulator {
namespace {

/// Larger than the number of frame sets that a client can hold, so that returning too many is
/// detected.
constexpr size_t kRecycleQueueSize = 2 * FrameSetLedger::kMaxOutstanding;

constexpr uint32_t kTakenBackBit = 1U << 0;
constexpr uint32_t kHandedBackBit = 1U << 1;

}  // namespace

FrameSetCounts& FrameSetCounts::operator+=(const FrameSetCounts& other) {
    handedOut += other.handedOut;
    cameBack += other.cameBack;
    cameTwice += other.cameTwice;
    cameAltered += other.cameAltered;
    neverCameBack += other.neverCameBack;
    reclaimed += other.reclaimed;
    dropped += other.dropped;
    return *this;
}

FrameSetClient::FrameSetClient(const ClientIdentity& client, const Queue::Descriptor& queue,
                               const Hidl::FmqConfig& config)
    : StreamingParty(client, descriptorsOf(queue) + 2),
      stream_(queue, config),
      recycleQueue_(kRecycleQueueSize) {
    // Nobody waits for it: what came back is only needed when the next frame set is due.
    recycleConfig_.eventFlag = ownedHandle({ashmem_create_region("recycle", sizeof(uint32_t))});
    recycleConfig_.readNotifyBit = kTakenBackBit;
    recycleConfig_.dataReadyBit = kHandedBackBit;
}

Refusal FrameSetClient::refusal() const {
    if (!recycleQueue_.isValid() || recycleConfig_.eventFlag == nullptr) {
        return Refusal::NO_MEMORY;
    }
    return stream_.refusal();
}

bool FrameSetClient::offer(const Hidl::FrameSet& frameSet) {
    if (ledger_.isFull() || !stream_.write({frameSet})) {
        ++counts_.dropped;
        return false;
    }
    ledger_.handOut(frameSet);
    ++counts_.handedOut;
    return true;
}

void FrameSetClient::collect() {
    Hidl::FrameSet returned;
    // Bounded, because a client could fill the queue as fast as it is emptied.
    for (size_t i = 0; i < kRecycleQueueSize && recycleQueue_.read(&returned); ++i) {
        switch (ledger_.takeBack(returned)) {
            case FrameSetLedger::Verdict::INTACT:
                ++counts_.cameBack;
                break;
            case FrameSetLedger::Verdict::ALTERED:
                ++counts_.cameAltered;
                warn(returned.sequence, "but not as it was");
                break;
            case FrameSetLedger::Verdict::TWICE:
                ++counts_.cameTwice;
                warn(returned.sequence, "twice");
                break;
        }
    }
}

void FrameSetClient::warn(uint32_t sequence, const char* how) {
    const uint64_t faults = counts_.cameAltered + counts_.cameTwice;
    if (faults >= nextWarning_) {
        nextWarning_ = 2 * faults;
        ALOGW("%s gave back frame set %u, %s; %llu faults so far", name.c_str(), sequence, how,
              static_cast<unsigned long long>(faults));
    }
}

FrameSetCounts FrameSetClient::counts(bool isAtFault) const {
    const size_t outstanding = ledger_.outstanding();
    const size_t taken = outstanding - std::min(stream_.unread(), outstanding);
    const size_t missed = isAtFault ? taken : 0;
    FrameSetCounts counts = counts_;
    counts.neverCameBack += missed;
    counts.reclaimed += outstanding - missed;
    return counts;
}

}  // namespace Simulator
