// Descriptors as the HAL passes them.
#pragma once

#include <cutils/native_handle.h>
#include <hidl/HidlSupport.h>

#include <algorithm>
#include <initializer_list>

namespace Simulator {

/// Takes over the descriptors. If one of them is invalid, closes the others and returns null.
inline android::hardware::hidl_handle ownedHandle(std::initializer_list<int> descriptors) {
    native_handle_t* const native = native_handle_create(static_cast<int>(descriptors.size()), 0);
    std::copy(descriptors.begin(), descriptors.end(), native->data);
    android::hardware::hidl_handle handle;
    handle.setTo(native, true);
    const bool areOpen = std::all_of(descriptors.begin(), descriptors.end(),
                                     [](int descriptor) { return descriptor >= 0; });
    // Not one expression: that would copy the handle, which takes a descriptor more and is fatal
    // without one.
    if (!areOpen) {
        return nullptr;
    }
    return handle;
}

}  // namespace Simulator
