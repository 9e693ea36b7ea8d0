// Handles and strings.
#define LOG_TAG "HidlSupport"

#include <hidl/HidlSupport.h>
#include <log/log.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>

namespace android::hardware {

void details::closeAndDelete(native_handle_t* handle) {
    native_handle_close(handle);
    native_handle_delete(handle);
}

void details::dieOfSize(const char* type, size_t size) {
    LOG_ALWAYS_FATAL("a %s cannot have %zu elements", type, size);
}

void details::logAlwaysFatal(const char* message) {
    LOG_ALWAYS_FATAL("%s", message);
}

hidl_handle::hidl_handle(const hidl_handle& other) {
    if (other.mHandle == nullptr) return;
    mHandle = native_handle_clone(other.mHandle);
    mOwns = true;
    LOG_ALWAYS_FATAL_IF(mHandle == nullptr, "cannot clone a handle: %s", strerror(errno));
}

std::string toString(const hidl_handle& value) {
    if (value.getNativeHandle() == nullptr) return "no handle";
    return "handle of " + std::to_string(value->numFds) + " descriptors";
}

hidl_string::hidl_string(const char* text)
    : hidl_string(text, text == nullptr ? 0 : strlen(text)) {}

hidl_string::hidl_string(const char* text, size_t length) {
    if (length == 0) return;
    if (length > UINT32_MAX) details::dieOfSize("hidl_string", length);
    char* buffer = new char[length + 1];
    memcpy(buffer, text, length);
    buffer[length] = '\0';
    mBuffer = buffer;
    mSize = static_cast<uint32_t>(length);
    mOwns = true;
}

}  // namespace android::hardware
