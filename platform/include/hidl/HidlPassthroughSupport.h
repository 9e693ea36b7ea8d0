// Support for generated passthrough wrappers.
#pragma once

#include <utils/StrongPointer.h>

namespace android::hardware::details {

/** Returns a local service itself: it needs no wrapper. */
template <typename IType>
sp<IType> wrapPassthrough(const sp<IType>& interface) {
    return interface;
}

}  // namespace android::hardware::details
