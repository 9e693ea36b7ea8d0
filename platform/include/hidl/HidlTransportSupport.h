// Serving calls: configuration of the thread pool, and helpers of generated code.
#pragma once

#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlSupport.h>
#include <hidl/ServiceManagement.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

namespace android::hardware {

/**
 * Sets the maximum number of HIDL threads of the process. It takes effect only if
 * details::isAsOnDevice(). Otherwise the pool grows on demand, because with a fixed number of
 * threads deeply nested calls would deadlock.
 * @param maxThreads at least 1
 * @param callerWillJoin whether the caller's thread becomes one of them
 */
void configureRpcThreadpool(size_t maxThreads, bool callerWillJoin);

/**
 * Serves calls on this thread; never returns. Ends the process if configureRpcThreadpool() was not
 * called.
 */
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
