// See HidlTransportSupport.h.
#define LOG_TAG "HidlTransport"

#include <hidl/HidlTransportSupport.h>

#include <log/log.h>
#include <unistd.h>

#include "transport/ThreadPool.h"

namespace android::hardware {

void configureRpcThreadpool(size_t maxThreads, bool /* callerWillJoin */) {
    LOG_ALWAYS_FATAL_IF(maxThreads == 0, "a thread pool needs a thread");
}

void joinRpcThreadpool() {
    details::ThreadPool::self().join();
}

bool interfacesEqual(const sp<hidl::base::V1_0::IBase>& left,
                     const sp<hidl::base::V1_0::IBase>& right) {
    if (left == nullptr || right == nullptr || left->isRemote() != right->isRemote()) {
        return left == right;
    }
    return left->isRemote() ? toBinder(left) == toBinder(right) : left == right;
}

int32_t details::getPidIfSharable() {
    return getpid();
}

}  // namespace android::hardware
