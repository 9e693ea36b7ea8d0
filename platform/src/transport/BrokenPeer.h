// Thrown where a peer's message breaks the protocol; its connection catches it.
#pragma once

#include <stdexcept>

namespace android::hardware::details {

/** The text says what the peer did; the log line is "dropped process …: " and the text. */
struct BrokenPeer : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace android::hardware::details
