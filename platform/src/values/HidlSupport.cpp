// Handles and strings.
#define LOG_TAG "HidlSupport"

#include <hidl/HidlSupport.h>
#include <log/log.h>

#include <cerrno>
#include <cstring>

namespace android::hardware {

const size_t hidl_handle::kOffsetOfNativeHandle = offsetof(hidl_handle, mHandle);
const size_t hidl_string::kOffsetOfBuffer = offsetof(hidl_string, mBuffer);

namespace {
constexpr char kEmpty[] = "";
}

void details::dieOfSize(const char* type, size_t size) {
    LOG_ALWAYS_FATAL("a %s cannot have %zu elements", type, size);
}

void details::clearReceivedOwnership(hidl_handle& value) {
    value.mOwnsHandle = false;
}
void details::clearReceivedOwnership(hidl_string& value) {
    value.mOwnsBuffer = false;
}

hidl_handle& hidl_handle::operator=(const hidl_handle& other) {
    if (this == &other) return *this;
    native_handle_t* clone = nullptr;
    if (other.mHandle != nullptr) {
        clone = native_handle_clone(other.mHandle);
        LOG_ALWAYS_FATAL_IF(clone == nullptr, "cannot clone a handle: %s", strerror(errno));
    }
    setTo(clone, true);
    return *this;
}

hidl_handle& hidl_handle::operator=(const native_handle_t* handle) {
    freeHandle();
    mHandle = handle;
    mOwnsHandle = false;
    return *this;
}

hidl_handle& hidl_handle::operator=(hidl_handle&& other) noexcept {
    if (this == &other) return *this;
    freeHandle();
    mHandle = std::exchange(other.mHandle, nullptr);
    mOwnsHandle = std::exchange(other.mOwnsHandle, false);
    return *this;
}

void hidl_handle::setTo(native_handle_t* handle, bool shouldOwn) {
    freeHandle();
    mHandle = handle;
    mOwnsHandle = shouldOwn;
}

void hidl_handle::freeHandle() {
    if (mOwnsHandle && mHandle != nullptr) {
        native_handle_close(mHandle);
        native_handle_delete(const_cast<native_handle_t*>(getNativeHandle()));
    }
    mHandle = nullptr;
}

std::string toString(const hidl_handle& value) {
    if (value.getNativeHandle() == nullptr) return "no handle";
    return "handle of " + std::to_string(value->numFds) + " descriptors";
}

hidl_string::hidl_string() : mBuffer(kEmpty) {}

hidl_string::hidl_string(const char* text)
    : hidl_string(text, text == nullptr ? 0 : strlen(text)) {}

hidl_string::hidl_string(const std::string& text) : hidl_string(text.data(), text.size()) {}

hidl_string::hidl_string(const char* text, size_t length) : hidl_string() {
    if (length == 0) return;
    if (length > UINT32_MAX) details::dieOfSize("hidl_string", length);
    char* buffer = new char[length + 1];
    memcpy(buffer, text, length);
    buffer[length] = '\0';
    mBuffer = buffer;
    mSize = static_cast<uint32_t>(length);
    mOwnsBuffer = true;
}

hidl_string::~hidl_string() {
    if (mOwnsBuffer) delete[] static_cast<const char*>(mBuffer);
}

void hidl_string::swap(hidl_string& other) noexcept {
    std::swap(mBuffer, other.mBuffer);
    std::swap(mSize, other.mSize);
    std::swap(mOwnsBuffer, other.mOwnsBuffer);
}

}  // namespace android::hardware
