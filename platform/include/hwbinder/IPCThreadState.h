// The calling thread's part in calls between processes.
#pragma once

#include <sys/types.h>

namespace android::hardware {

class IPCThreadState {
  public:
    static IPCThreadState* self();

    /** The peer whose call this thread is serving; this process if it serves none. */
    pid_t getCallingPid() const;

    /** Releases of references are sent when they happen: nothing waits to be flushed. */
    void flushCommands() {}
};

}  // namespace android::hardware
