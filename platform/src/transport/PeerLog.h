// The log lines that peers can cause, limited in number.
#pragma once

#include <string>

namespace android::hardware::details {

/**
 * Writes an error line. After a burst of 1000 lines it writes one every 100 ms, and the first of
 * these says how many were left out.
 *
 * Threading: any thread, without a lock of the transport: it would be held while the log blocks.
 */
void logOfPeer(const char* format, ...) __attribute__((format(printf, 1, 2)));

/**
 * A peer's text, cut to a length that suits a log line, without characters that could forge another
 * line.
 */
std::string printable(const char* text);

}  // namespace android::hardware::details
