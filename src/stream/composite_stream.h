// Waits for up to 15 streams on one event flag.
#pragma once

#include <fmq/EventFlag.h>
#include <hidl/HidlSupport.h>
#include <vek/sensors/stream.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "os/static_vector.h"
#include "stream/stream_handle_base.h"

namespace Vek::Sensors::HidlWrapper {

/// Owns the event-flag word that all of its streams share with the service. Stream `i` has the
/// data-ready bit `i`, set by the service, and the read-done bit `i + 15`, set by the stream after
/// a read. Bit 31 ends a wait; bit 30 is unused.
class CompositeStream : public ICompositeStream {
  public:
    /// Ends the process if there is no memory for the event flag.
    explicit CompositeStream(const std::string& name);
    ~CompositeStream() override;

    CompositeStream(const CompositeStream&) = delete;
    CompositeStream& operator=(const CompositeStream&) = delete;

    /// Gives the stream the next free pair of bits and prepares it. Ends the process if the
    /// composite is full.
    /// @param stream not owned; must outlive the last wait.
    void addStream(StreamHandleBase& stream);

    WaitResult wait() override;
    WaitResult waitFor(std::chrono::nanoseconds timeout) override;
    WaitResult waitUntil(std::chrono::steady_clock::time_point deadline) override;
    void wake() override;

  private:
    static constexpr size_t kMaxStreams = 15;
    static constexpr uint32_t kWakeBit = 1U << 31;

    /// Reads the streams whose data-ready bits are set, in the order in which they were added. Bits
    /// that belong to no stream are ignored.
    /// @param bits without the wake bit.
    WaitResult readStreams(uint32_t bits);

    android::hardware::hidl_handle evFlagHandle_;
    android::hardware::EventFlag* evFlag_;
    uint32_t waitMask_ = kWakeBit;
    /// Data-ready bits that arrived together with a wake; the next wait serves them.
    uint32_t pending_ = 0;
    OS::StaticVector<std::reference_wrapper<StreamHandleBase>, kMaxStreams> streams_;
};

}  // namespace Vek::Sensors::HidlWrapper
