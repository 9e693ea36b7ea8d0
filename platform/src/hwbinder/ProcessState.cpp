// Queries about the process and the calling thread.
#include <hwbinder/IPCThreadState.h>
#include <hwbinder/ProcessState.h>
#include <unistd.h>

#include "transport/Endpoint.h"
#include "transport/ServedCall.h"

namespace android::hardware {

ProcessState* ProcessState::self() {
    static ProcessState state;
    return &state;
}

IPCThreadState* IPCThreadState::self() {
    static IPCThreadState state;
    return &state;
}

pid_t IPCThreadState::getCallingPid() const {
    const details::ServedCall* call = details::ServedCall::current();
    return call == nullptr ? getpid() : call->peer().pid;
}

void IPCThreadState::flushCommands() {
    details::Endpoint::self().sendReleases();
}

}  // namespace android::hardware
