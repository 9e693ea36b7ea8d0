// The calling thread's part in calls between processes.
#pragma once

#include <sys/types.h>

namespace android::hardware {

class IPCThreadState {
  public:
    static IPCThreadState* self();

    /** The peer whose call this thread is serving; this process if it serves none. */
    pid_t getCallingPid() const;
    uid_t getCallingUid() const;

    /** Releases of references are sent when they happen: nothing waits to be flushed. */
    void flushCommands() {}

    /** Serves calls on this thread; never returns. */
    [[noreturn]] void joinThreadPool();
};

}  // namespace android::hardware
