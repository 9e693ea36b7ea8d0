// The service's end of one client's frame-set stream: both queues, and the account of the frame
// sets handed out.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IFrameConfigCallback.h>

#include <cstdint>
#include <vector>

#include "camera/frame_set_ledger.h"
#include "client_stream.h"
#include "stream_register.h"

namespace Simulator {

/// Counts of frame sets by their outcome.
struct FrameSetCounts {
    uint64_t handedOut = 0;
    /// Returned unchanged, for the first time.
    uint64_t cameBack = 0;
    uint64_t cameTwice = 0;
    uint64_t cameAltered = 0;
    /// Not returned although the client ended its stream properly, or still held when the service
    /// ended.
    uint64_t neverCameBack = 0;
    /// Never read, or held by clients that died or prepared their stream again.
    uint64_t reclaimed = 0;
    /// Not handed out because the client still held others.
    uint64_t dropped = 0;

    FrameSetCounts& operator+=(const FrameSetCounts& other);
};

/// Threading: one thread at a time.
class FrameSetClient : public StreamingParty {
  public:
    using Stream = ClientStream<Hidl::FrameSet>;
    using Queue = Stream::Queue;

    FrameSetClient(const ClientIdentity& client, const Queue::Descriptor& queue,
                   const Hidl::FmqConfig& config);

    /// Why the stream is refused: a fault in what the client sent, or a lack of memory.
    Refusal refusal() const;

    /// The recycle queue, to be passed to the client.
    const Queue::Descriptor& recycleQueue() const { return *recycleQueue_.getDesc(); }
    const Hidl::FmqConfig& recycleConfig() const { return recycleConfig_; }

    bool hasRoom() const { return !ledger_.isFull() && stream_.hasRoomFor(1); }
    /// Waits for a short while until the client takes a frame set. From any thread.
    void awaitRead() { stream_.awaitRead(); }

    /// @return false, and counts a drop, if the client has no room
    bool offer(const Hidl::FrameSet& frameSet);

    /// Reads the recycle queue and updates the account.
    void collect();

    const FrameSetLedger& ledger() const { return ledger_; }

    /// The counts that would result if the client's stream ended now.
    /// @param isAtFault whether frame sets that the client still holds count as never returned
    FrameSetCounts counts(bool isAtFault) const;

    std::vector<android::sp<Hidl::IFrameConfigCallback>> callbacks;

  private:
    void warn(uint32_t sequence, const char* how);

    Stream stream_;
    Queue recycleQueue_;
    Hidl::FmqConfig recycleConfig_;
    FrameSetLedger ledger_;
    FrameSetCounts counts_;
    /// Number of faults at which to warn next; doubled each time, so that the log stays short.
    uint64_t nextWarning_ = 1;
};

}  // namespace Simulator
