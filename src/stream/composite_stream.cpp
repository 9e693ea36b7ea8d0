// Waiting on the event flag and serving the streams.
#include "stream/composite_stream.h"

#include <utils/Errors.h>

#include <cerrno>
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
    android::hardware::EventFlag::deleteEventFlag(&evFlag_);
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
    const TimePoint now = std::chrono::steady_clock::now();
    if (deadline <= now) {
        return readStreams((1U << streams_.size()) - 1U);
    }
    // To the event flag, 0 means no limit.
    const int64_t timeout =
        deadline == TimePoint::max() ? 0 : std::chrono::nanoseconds{deadline - now}.count();
    uint32_t state = 0;
    const android::status_t status = evFlag_->wait(waitMask_, &state, timeout, true);
    if (status == -ETIMEDOUT) {
        return WaitResult::NOTHING_DELIVERED;
    }
    MORIAK_FATAL_IF(status != android::NO_ERROR,
                    "Unexpected error code from EventFlag::wait: status %d", status);
    if ((state & kWakeBit) != 0) {
        // The wait has taken the data-ready bits off the word: they must not be lost.
        pending_ |= state & ~kWakeBit;
        return WaitResult::WOKEN;
    }
    return readStreams(state);
}

void CompositeStream::wake() {
    evFlag_->wake(kWakeBit);
}

WaitResult CompositeStream::readStreams(uint32_t bits) {
    bool delivered = false;
    for (size_t i = 0; bits != 0 && i < streams_.size(); ++i) {
        const uint32_t bit = 1U << i;
        if ((bits & bit) != 0) {
            delivered = streams_.at(i).get().read() || delivered;
            bits &= ~bit;
        }
    }
    return delivered ? WaitResult::DELIVERED : WaitResult::NOTHING_DELIVERED;
}

}  // namespace Vek::Sensors::HidlWrapper
