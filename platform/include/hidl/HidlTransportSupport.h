// Serving calls: the thread pool, and what programs and generated code need around it.
#pragma once

#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlSupport.h>
#include <hidl/ServiceManagement.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

namespace android::hardware {

/**
 * Says how many HIDL threads the process may have. That counts as on the device (see
 * details::isAsOnDevice) only; otherwise the pool grows as calls need it, for a fixed number of
 * threads would deadlock on calls that nest deeper.
 * @param maxThreads from 1
 * @param callerWillJoin whether one of them will be the caller's
 */
void configureRpcThreadpool(size_t maxThreads, bool callerWillJoin);

/** Serves calls on this thread; never returns. Ends a process that has configured no threads. */
[[noreturn]] void joinRpcThreadpool();

/** Whether both are the same object, be they proxies or not. Null equals null. */
bool interfacesEqual(const sp<hidl::base::V1_0::IBase>& left,
                     const sp<hidl::base::V1_0::IBase>& right);

namespace details {
/** The process number that getDebugInfo reports. */
inline int32_t getPidIfSharable() {
    return getpid();
}
/** Whether addresses may be reported to other processes. */
constexpr bool debuggable() {
    return false;
}
}  // namespace details

}  // namespace android::hardware
