// An event-flag word is the start of a page of ashmem.
#include "os/event_flag.h"

#include <cutils/ashmem.h>
#include <cutils/native_handle.h>
#include <unistd.h>

namespace Vek::OS {

android::hardware::hidl_handle createEventFlagHandle(const std::string& name) {
    android::hardware::hidl_handle handle;
    const int fd = ashmem_create_region(name.c_str(), static_cast<size_t>(sysconf(_SC_PAGESIZE)));
    if (fd < 0) {
        return handle;
    }
    native_handle_t* const nativeHandle = native_handle_create(1, 0);
    if (nativeHandle == nullptr) {
        close(fd);
        return handle;
    }
    nativeHandle->data[0] = fd;
    handle.setTo(nativeHandle, true);
    return handle;
}

android::hardware::EventFlag* createEventFlagFromHandle(
    const android::hardware::hidl_handle& handle) {
    const native_handle_t* const nativeHandle = handle.getNativeHandle();
    if (nativeHandle == nullptr || nativeHandle->numFds < 1) {
        return nullptr;
    }
    android::hardware::EventFlag* eventFlag = nullptr;
    if (android::hardware::EventFlag::createEventFlag(nativeHandle->data[0], 0, &eventFlag) !=
        android::NO_ERROR) {
        return nullptr;
    }
    return eventFlag;
}

}  // namespace Vek::OS
