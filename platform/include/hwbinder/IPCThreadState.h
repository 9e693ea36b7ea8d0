// The calling thread's part in calls between processes.
#pragma once

#include <sys/types.h>

namespace android::hardware {

class IPCThreadState {
  public:
    static IPCThreadState* self();

    /** The peer whose call this thread is serving; this process if it serves none. */
    pid_t getCallingPid() const;

    /** Sends releases of references now, which otherwise wait for the next message or some 10 ms.
     */
    void flushCommands();
};

}  // namespace android::hardware
