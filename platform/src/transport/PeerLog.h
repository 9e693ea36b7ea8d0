// Log lines that peers can cause: so many, and no more.
#pragma once

#include <string>

namespace android::hardware::details {

/**
 * Writes an error line, unless peers have caused 1000 of them just now; then one every 100 ms, and
 * the first of these says how many were left out.
 *
 * Threading: any thread; one that holds a lock of the transport would keep it while the log is
 * blocked.
 */
void logOfPeer(const char* format, ...) __attribute__((format(printf, 1, 2)));

/** As much of a peer's text as a log line can do with, and nothing that could forge another. */
std::string printable(const char* text);

}  // namespace android::hardware::details
