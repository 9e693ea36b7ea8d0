// Handles of descriptors.
#pragma once

#include <cutils/native_handle.h>
#include <hidl/HidlSupport.h>

#include <algorithm>
#include <vector>

namespace TestSupport {

/// Owns the descriptors.
/// @param numbers what stands behind the descriptors; no descriptors, even if they look like some.
inline native_handle_t* nativeHandleOf(const std::vector<int>& descriptors,
                                       const std::vector<int>& numbers = {}) {
    native_handle_t* const native = native_handle_create(static_cast<int>(descriptors.size()),
                                                         static_cast<int>(numbers.size()));
    std::copy(numbers.begin(), numbers.end(),
              std::copy(descriptors.begin(), descriptors.end(), native->data));
    return native;
}
inline android::hardware::hidl_handle handleOf(const std::vector<int>& descriptors,
                                               const std::vector<int>& numbers = {}) {
    android::hardware::hidl_handle handle;
    handle.setTo(nativeHandleOf(descriptors, numbers), true);
    return handle;
}

}  // namespace TestSupport
