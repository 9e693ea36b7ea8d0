// See HidlTransportSupport.h.
#include <hidl/HidlTransportSupport.h>

#include "transport/ThreadPool.h"

namespace android::hardware {

void joinRpcThreadpool() {
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
