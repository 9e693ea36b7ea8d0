// Handles of descriptors.
#pragma once

#include <cutils/native_handle.h>
#include <hidl/HidlSupport.h>

#include <algorithm>
#include <vector>

namespace TestSupport {

/// Owns the descriptors.
inline native_handle_t* nativeHandleOf(const std::vector<int>& descriptors) {
    native_handle_t* const native = native_handle_create(static_cast<int>(descriptors.size()), 0);
    std::copy(descriptors.begin(), descriptors.end(), native->data);
    return native;
}
inline android::hardware::hidl_handle handleOf(const std::vector<int>& descriptors) {
    android::hardware::hidl_handle handle;
    handle.setTo(nativeHandleOf(descriptors), true);
    return handle;
}

}  // namespace TestSupport
