// The calling thread's part in calls between processes.
#pragma once

#include <sys/types.h>

namespace android::hardware {

class IPCThreadState {
  public:
    static IPCThreadState* self();

    /** The peer whose call this thread is serving; this process if it serves none. */
    pid_t getCallingPid() const;
};

}  // namespace android::hardware
