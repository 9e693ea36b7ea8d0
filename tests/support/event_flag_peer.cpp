// Stands before the runtime's own event flag, which is in a shared library.
#include "support/event_flag_peer.h"

#include <dlfcn.h>
#include <fmq/EventFlag.h>

namespace TestSupport {

EventFlagPeer*& EventFlagPeer::current() {
    static EventFlagPeer* peer = nullptr;
    return peer;
}

namespace {

template <typename Function>
Function* next(const char* symbol) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
}

}  // namespace
}  // namespace TestSupport

namespace android::hardware {

using TestSupport::EventFlagPeer;

status_t EventFlag::wake(uint32_t bitmask) {
    static const auto real =
        TestSupport::next<status_t(EventFlag*, uint32_t)>("_ZN7android8hardware9EventFlag4wakeEj");
    if (const EventFlagPeer* const peer = EventFlagPeer::current()) {
        if (peer->failure != NO_ERROR) {
            return peer->failure;
        }
        peer->duringWake(bitmask);
    }
    return real(this, bitmask);
}

status_t EventFlag::wait(uint32_t bitmask, uint32_t* state, int64_t timeOutNanoSeconds,
                         bool retry) {
    static const auto real =
        TestSupport::next<status_t(EventFlag*, uint32_t, uint32_t*, int64_t, bool)>(
            "_ZN7android8hardware9EventFlag4waitEjPjlb");
    EventFlagPeer* const peer = EventFlagPeer::current();
    if (peer == nullptr) {
        return real(this, bitmask, state, timeOutNanoSeconds, retry);
    }
    if (peer->failure != NO_ERROR) {
        return peer->failure;
    }
    peer->timeouts.push_back(timeOutNanoSeconds);
    peer->goOn = peer->goOn && retry;
    const status_t status = real(this, bitmask, state, timeOutNanoSeconds, retry);
    *state |= peer->strayBits;
    return status;
}

}  // namespace android::hardware
