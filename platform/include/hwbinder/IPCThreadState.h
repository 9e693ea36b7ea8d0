// The calling thread's state in calls between processes.
#pragma once

#include <sys/types.h>

namespace android::hardware {

class IPCThreadState {
  public:
    static IPCThreadState* self();

    /**
     * Process number of the peer whose call this thread serves; this process's if it serves none.
     */
    pid_t getCallingPid() const;

    /**
     * Sends queued releases of references now; they would otherwise wait for the next message or
     * about 10 ms.
     */
    void flushCommands();
};

}  // namespace android::hardware
