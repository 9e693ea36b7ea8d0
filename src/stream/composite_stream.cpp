// Waiting on the event flag and serving the streams.
#include "stream/composite_stream.h"

#include <utils/Errors.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <utility>

#include "foundation/log.h"
#include "os/event_flag.h"

namespace Vek::Sensors::HidlWrapper {

using TimePoint = std::chrono::steady_clock::time_point;

CompositeStream::CompositeStream(const std::string& name)
    : evFlagHandle_(OS::createEventFlagHandle(name)),
      evFlag_(OS::createEventFlagFromHandle(evFlagHandle_)) {
    MORIAK_FATAL_IF(!evFlagHandle_ || !evFlag_, "Failed to allocate EventFlag");
}

CompositeStream::~CompositeStream() {
    OS::deleteEventFlag(&evFlag_);
}

void CompositeStream::addStream(StreamHandleBase& stream) {
    MORIAK_FATAL_IF(streams_.size() == streams_.capacity(),
                    "cannot add any more streams, capacity = %zu", streams_.capacity());
    streams_.emplace_back(stream);
    const size_t index = streams_.size() - 1;
    const uint32_t dataReadyBit = 1U << index;
    const uint32_t readNotifyBit = 1U << (index + kMaxStreams);
    waitMask_ |= dataReadyBit;
    stream.prepareStream(evFlagHandle_, evFlag_, readNotifyBit, dataReadyBit);
}

WaitResult CompositeStream::wait() {
    return waitUntil(TimePoint::max());
}

WaitResult CompositeStream::waitFor(std::chrono::nanoseconds timeout) {
    const TimePoint now = std::chrono::steady_clock::now();
    const bool beyondTheClock = timeout > TimePoint::max() - now;
    return waitUntil(beyondTheClock ? TimePoint::max() : now + timeout);
}

WaitResult CompositeStream::waitUntil(TimePoint deadline) {
    uint32_t bits = std::exchange(pending_, 0U);
    if (bits != 0) {
        return readStreams(bits);
    }
    int64_t timeout = 0;  // 0 means no limit to the event flag
    if (deadline != TimePoint::max()) {
        const TimePoint now = std::chrono::steady_clock::now();
        if (deadline <= now) {
            return readStreams((1U << streams_.size()) - 1U);
        }
        timeout = std::chrono::nanoseconds{deadline - now}.count();
    }
    uint32_t state = 0;
    const android::status_t status = evFlag_->wait(waitMask_, &state, timeout, true);
    if (status == -ETIMEDOUT) {
        return WaitResult::NOTHING_DELIVERED;
    }
    MORIAK_FATAL_IF(status != android::NO_ERROR,
                    "Unexpected error code from EventFlag::wait: status %d", status);
    if ((state & kWakeBit) != 0) {
        // The wait has cleared the data-ready bits of the word, so keep them for the next wait.
        pending_ |= state & ~kWakeBit;
        return WaitResult::WOKEN;
    }
    return readStreams(state);
}

void CompositeStream::wake() {
    OS::wakeEventFlag(*evFlag_, kWakeBit);
}

WaitResult CompositeStream::readStreams(uint32_t bits) {
    // Bits that belong to no stream are ignored.
    bits &= waitMask_;
    bool delivered = false;
    for (; bits != 0; bits &= bits - 1) {
        const auto lowest = static_cast<size_t>(__builtin_ctz(bits));
        delivered = streams_.at(lowest).get().read() || delivered;
    }
    return delivered ? WaitResult::DELIVERED : WaitResult::NOTHING_DELIVERED;
}

}  // namespace Vek::Sensors::HidlWrapper
