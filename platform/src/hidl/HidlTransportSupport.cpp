#define LOG_TAG "HidlTransportSupport"

#include <hidl/HidlTransportSupport.h>
#include <log/log.h>

#include <atomic>

#include "transport/ThreadPool.h"

namespace android::hardware {

namespace {
std::atomic<bool> isThreadPoolConfigured{false};
}  // namespace

void configureRpcThreadpool(size_t maxThreads, bool callerWillJoin) {
    LOG_ALWAYS_FATAL_IF(maxThreads < 1, "threadpool maxThreads must be >= 1");
    isThreadPoolConfigured = true;
    if (details::isAsOnDevice()) {
        details::ThreadPool::self().setMaxBusyThreads(maxThreads - (callerWillJoin ? 1 : 0));
    }
}

void joinRpcThreadpool() {
    LOG_ALWAYS_FATAL_IF(!isThreadPoolConfigured,
                        "HIDL joinRpcThreadpool without calling configureRpcThreadpool.");
    details::ThreadPool::self().join();
}

bool interfacesEqual(const sp<hidl::base::V1_0::IBase>& left,
                     const sp<hidl::base::V1_0::IBase>& right) {
    if (left == nullptr || right == nullptr || !left->isRemote() || !right->isRemote()) {
        return left == right;
    }
    return toBinder(left) == toBinder(right);
}

}  // namespace android::hardware
