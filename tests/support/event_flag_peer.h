// A peer that acts inside the calls of event flags, so that what may happen between two steps of
// the library happens for certain.
#pragma once

#include <utils/Errors.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace TestSupport {

/// Takes part in the event-flag calls of the test program, the library's among them. One at a time.
class EventFlagPeer {
  public:
    EventFlagPeer() { current() = this; }
    ~EventFlagPeer() { current() = nullptr; }
    EventFlagPeer(const EventFlagPeer&) = delete;
    EventFlagPeer& operator=(const EventFlagPeer&) = delete;

    /// Null if there is none.
    static EventFlagPeer*& current();

    /// Called by each wake before the bits are set.
    std::function<void(uint32_t bits)> duringWake = [](uint32_t) {};
    /// What each wake and each wait answers in place of doing anything, unless it is NO_ERROR.
    android::status_t failure = android::NO_ERROR;
    /// Bits that each wait reports in addition, like event flags that ignore the mask.
    uint32_t strayBits = 0;
    /// Time-outs of the waits, in ns.
    std::vector<int64_t> timeouts;
    /// Whether all waits had `retry` set.
    bool goOn = true;
};

}  // namespace TestSupport
