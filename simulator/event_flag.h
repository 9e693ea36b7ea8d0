// The event flag of a queue, mapped.
#pragma once

#include <fmq/EventFlag.h>
#include <hidl/HidlSupport.h>

#include <memory>

namespace Simulator {

struct EventFlagDeleter {
    void operator()(android::hardware::EventFlag* flag) const {
        android::hardware::EventFlag::deleteEventFlag(&flag);
    }
};
using EventFlagPointer = std::unique_ptr<android::hardware::EventFlag, EventFlagDeleter>;

/// Maps an event flag. Null if the handle has no memory that can be mapped.
inline EventFlagPointer mapEventFlag(const android::hardware::hidl_handle& handle) {
    android::hardware::EventFlag* flag = nullptr;
    const native_handle_t* const native = handle.getNativeHandle();
    if (native != nullptr && native->numFds > 0) {
        // Leaves the pointer null if it fails.
        android::hardware::EventFlag::createEventFlag(native->data[0], 0, &flag);
    }
    return EventFlagPointer(flag);
}

}  // namespace Simulator
