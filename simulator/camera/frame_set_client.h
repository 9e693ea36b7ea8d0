// The service's end of one client's frame-set stream: both of its queues and its account.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IFrameConfigCallback.h>

#include <cstdint>
#include <vector>

#include "camera/frame_set_ledger.h"
#include "client_stream.h"
#include "stream_register.h"

namespace Simulator {

/// What became of frame sets.
struct FrameSetCounts {
    uint64_t handedOut = 0;
    /// As they were, once each.
    uint64_t cameBack = 0;
    uint64_t cameTwice = 0;
    uint64_t cameAltered = 0;
    /// The client took them and ended its stream, or still had them when the service ended.
    uint64_t neverCameBack = 0;
    /// Left unread, or taken from clients that died or prepared their stream anew.
    uint64_t reclaimed = 0;
    /// Not handed out because the client still had others.
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

    /// What is wrong with what the client sent, or what there is no memory for.
    Refusal refusal() const;

    /// For the client: the way back.
    const Queue::Descriptor& recycleQueue() const { return *recycleQueue_.getDesc(); }
    const Hidl::FmqConfig& recycleConfig() const { return recycleConfig_; }

    bool hasRoom() const { return !ledger_.isFull() && stream_.hasRoomFor(1); }
    /// Waits for a short while until the client takes a frame set. From any thread.
    void awaitRead() { stream_.awaitRead(); }

    /// @return false, and counts a drop, if the client has enough to do
    bool offer(const Hidl::FrameSet& frameSet);

    /// Takes what came back.
    void collect();

    const FrameSetLedger& ledger() const { return ledger_; }

    /// As if the client's stream ended now.
    /// @param isAtFault whether what the client has taken and still has is missed
    FrameSetCounts counts(bool isAtFault) const;

    std::vector<android::sp<Hidl::IFrameConfigCallback>> callbacks;

  private:
    void warn(uint32_t sequence, const char* how);

    Stream stream_;
    Queue recycleQueue_;
    Hidl::FmqConfig recycleConfig_;
    FrameSetLedger ledger_;
    FrameSetCounts counts_;
    /// At how many faults to warn; doubled each time, so that the log stays short.
    uint64_t nextWarning_ = 1;
};

}  // namespace Simulator
