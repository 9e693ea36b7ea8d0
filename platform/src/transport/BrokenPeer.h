// A peer has broken the protocol: thrown by what reads its messages, caught by its connection.
#pragma once

#include <stdexcept>

namespace android::hardware::details {

/** What it did is the text, which the log says after "dropped process …: ". */
struct BrokenPeer : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace android::hardware::details
