// Thrown when a peer's message breaks the protocol; the connection catches it.
#pragma once

#include <stdexcept>

namespace android::hardware::details {

/** The text says what the peer did. It is logged after "dropped process …: ". */
struct BrokenPeer : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace android::hardware::details
