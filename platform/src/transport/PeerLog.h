// Rate limit for log lines that peers can cause.
#pragma once

#include <string>

namespace android::hardware::details {

/**
 * Writes an error line. After a burst of 1000 lines it writes at most one line every 100 ms,
 * preceded by the number of lines that were left out.
 *
 * Threading: any thread, but without holding a lock of the transport, because writing to the log
 * may block.
 */
void logOfPeer(const char* format, ...) __attribute__((format(printf, 1, 2)));

/** A peer's text, truncated for a log line and without characters that could forge another line. */
std::string printable(const char* text);

}  // namespace android::hardware::details
