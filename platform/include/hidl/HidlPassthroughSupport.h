// What generated passthrough wrappers call.
#pragma once

#include <utils/StrongPointer.h>

namespace android::hardware::details {

/** A service of this process is used as it is. */
template <typename IType>
sp<IType> wrapPassthrough(const sp<IType>& interface) {
    return interface;
}

}  // namespace android::hardware::details
