// The values that HIDL calls carry, laid out as on the wire.
#pragma once

#include <cutils/compiler.h>
#include <cutils/native_handle.h>
#include <hidl/HidlInternal.h>
#include <utils/RefBase.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cinttypes>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace android::hidl::base::V1_0 {
struct IBase;
}

namespace android::hardware {

/** Notified when the process of a service to which it is linked dies. */
struct hidl_death_recipient : public virtual RefBase {
    /** Called on a HIDL thread, once. */
    virtual void serviceDied(uint64_t cookie, const wp<hidl::base::V1_0::IBase>& who) = 0;
};

namespace details {

/** A received value reads the transport's memory and owns nothing, whatever its bytes claim. */
struct ReceivedValue {
    template <typename T>
    static void clearOwnership(const T& value) {
        const_cast<T&>(value).mOwns = false;
    }
};

/** A null handle has no effect. */
void closeAndDelete(native_handle_t* handle);

[[noreturn]] void dieOfSize(const char* type, size_t size);

/** The most interfaces that fit in one message, even if all are null. */
constexpr size_t kMaxInterfaces = size_t{1} << 18;
template <typename T>
constexpr bool isInterface = false;
template <typename T>
constexpr bool isInterface<sp<T>> = true;

// Helpers of generated safe unions.
[[noreturn]] void logAlwaysFatal(const char* message);
template <typename T>
void destructElement(T* element) {
    element->~T();
}
}  // namespace details

/** A native handle, owned or borrowed. Copies own a clone. */
class hidl_handle {
  public:
    hidl_handle() = default;
    hidl_handle(const native_handle_t* handle) : mHandle(handle) {}  // NOLINT: as published
    /** Aborts if the process has no free descriptors for the clone. */
    hidl_handle(const hidl_handle& other);
    hidl_handle(hidl_handle&& other) noexcept { swap(other); }
    ~hidl_handle() {
        if (mOwns) details::closeAndDelete(const_cast<native_handle_t*>(mHandle));
    }

    hidl_handle& operator=(hidl_handle other) noexcept {
        swap(other);
        return *this;
    }
    void setTo(native_handle_t* handle, bool shouldOwn = false) {
        *this = hidl_handle(handle);
        mOwns = shouldOwn;
    }
    const native_handle_t* getNativeHandle() const { return mHandle; }
    const native_handle_t* operator->() const { return mHandle; }
    operator const native_handle_t*() const { return mHandle; }  // NOLINT: as published

    static constexpr size_t kOffsetOfNativeHandle = 0;

  private:
    friend details::ReceivedValue;
    void swap(hidl_handle& other) noexcept {
        std::swap(mHandle, other.mHandle);
        std::swap(mOwns, other.mOwns);
    }

    const native_handle_t* mHandle = nullptr;
    bool mOwns = false;
    [[maybe_unused]] uint8_t mPadding[7] = {};
};

/** A zero-terminated text; never null. */
class hidl_string {
  public:
    hidl_string() = default;
    hidl_string(const char* text);  // NOLINT: implicit as published
    hidl_string(const char* text, size_t length);
    hidl_string(const std::string& text) : hidl_string(text.data(), text.size()) {}  // NOLINT
    hidl_string(const hidl_string& other) : hidl_string(other.c_str(), other.size()) {}
    hidl_string(hidl_string&& other) noexcept { swap(other); }
    ~hidl_string() {
        if (mOwns) delete[] mBuffer;
    }

    hidl_string& operator=(hidl_string other) noexcept {
        swap(other);
        return *this;
    }

    const char* c_str() const { return mBuffer; }
    size_t size() const { return mSize; }
    bool empty() const { return mSize == 0; }
    operator std::string() const { return {mBuffer, mSize}; }  // NOLINT: as published

    static constexpr size_t kOffsetOfBuffer = 0;

  private:
    friend details::ReceivedValue;
    void swap(hidl_string& other) noexcept {
        std::swap(mBuffer, other.mBuffer);
        std::swap(mSize, other.mSize);
        std::swap(mOwns, other.mOwns);
    }

    const char* mBuffer = "";
    uint32_t mSize = 0;
    bool mOwns = false;
    [[maybe_unused]] uint8_t mPadding[3] = {};
};

inline bool operator==(const hidl_string& a, const hidl_string& b) {
    return a.size() == b.size() && std::equal(a.c_str(), a.c_str() + a.size(), b.c_str());
}
inline bool operator!=(const hidl_string& a, const hidl_string& b) {
    return !(a == b);
}
inline bool operator==(const hidl_string& a, const char* b) {
    return a == hidl_string(b);
}

/** An array whose length is known at run time. */
template <typename T>
struct hidl_vec {
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    hidl_vec() = default;
    explicit hidl_vec(size_t size) { allocate(size); }
    hidl_vec(std::initializer_list<T> list) : hidl_vec(list.begin(), list.end()) {}
    hidl_vec(const std::vector<T>& other) : hidl_vec(other.begin(), other.end()) {}  // NOLINT
    template <typename InputIterator,
              typename = typename std::iterator_traits<InputIterator>::iterator_category>
    hidl_vec(InputIterator first, InputIterator last) {
        allocate(static_cast<size_t>(std::distance(first, last)));
        std::copy(first, last, begin());
    }
    hidl_vec(const hidl_vec& other) : hidl_vec(other.begin(), other.end()) {}
    hidl_vec(hidl_vec&& other) noexcept { swap(other); }
    ~hidl_vec() {
        if (mOwns) delete[] mBuffer;
    }

    hidl_vec& operator=(hidl_vec other) noexcept {
        swap(other);
        return *this;
    }
    operator std::vector<T>() const { return std::vector<T>(begin(), end()); }  // NOLINT

    void setToExternal(T* elements, size_t size, bool shouldOwn = false) {
        *this = hidl_vec();
        mBuffer = elements;
        mSize = checkedSize(size);
        mOwns = shouldOwn;
    }
    /**
     * Generated code resizes the vector to the number of interfaces that the peer announces, before
     * it reads them. That number is limited to what one message can hold: reading more fails
     * anyway.
     */
    void resize(size_t size) {
        if constexpr (details::isInterface<T>) size = std::min(size, details::kMaxInterfaces);
        hidl_vec resized(size);
        std::move(begin(), begin() + std::min(size, this->size()), resized.begin());
        swap(resized);
    }

    size_t size() const { return mSize; }
    T* data() { return mBuffer; }
    const T* data() const { return mBuffer; }
    T* begin() { return mBuffer; }
    T* end() { return begin() + mSize; }
    const T* begin() const { return mBuffer; }
    const T* end() const { return begin() + mSize; }
    T& operator[](size_t index) { return begin()[index]; }
    const T& operator[](size_t index) const { return begin()[index]; }

    static constexpr size_t kOffsetOfBuffer = 0;

  private:
    friend details::ReceivedValue;
    static uint32_t checkedSize(size_t size) {
        if (size > UINT32_MAX) details::dieOfSize("hidl_vec", size);
        return static_cast<uint32_t>(size);
    }
    void allocate(size_t size) {
        mSize = checkedSize(size);
        mOwns = size > 0;
        mBuffer = size > 0 ? new T[size]() : nullptr;
    }
    void swap(hidl_vec& other) noexcept {
        std::swap(mBuffer, other.mBuffer);
        std::swap(mSize, other.mSize);
        std::swap(mOwns, other.mOwns);
    }

    T* mBuffer = nullptr;
    uint32_t mSize = 0;
    bool mOwns = false;
    [[maybe_unused]] uint8_t mPadding[3] = {};
};

template <typename T>
bool operator==(const hidl_vec<T>& a, const hidl_vec<T>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
}
template <typename T>
bool operator!=(const hidl_vec<T>& a, const hidl_vec<T>& b) {
    return !(a == b);
}

/** An array whose length is part of its type. */
template <typename T, size_t SIZE1>
struct hidl_array {
    hidl_array() = default;
    hidl_array(const T* source) { std::copy(source, source + SIZE1, mBuffer); }    // NOLINT
    hidl_array(const std::array<T, SIZE1>& source) : hidl_array(source.data()) {}  // NOLINT
    operator std::array<T, SIZE1>() const {  // NOLINT: implicit as published
        std::array<T, SIZE1> copy;
        std::copy(mBuffer, mBuffer + SIZE1, copy.begin());
        return copy;
    }

    T* data() { return mBuffer; }
    const T* data() const { return mBuffer; }
    T& operator[](size_t index) { return mBuffer[index]; }
    const T& operator[](size_t index) const { return mBuffer[index]; }
    static constexpr size_t size() { return SIZE1; }

  private:
    T mBuffer[SIZE1];
};

template <typename T, size_t SIZE1>
bool operator==(const hidl_array<T, SIZE1>& a, const hidl_array<T, SIZE1>& b) {
    return std::equal(a.data(), a.data() + SIZE1, b.data());
}
template <typename T, size_t SIZE1>
bool operator!=(const hidl_array<T, SIZE1>& a, const hidl_array<T, SIZE1>& b) {
    return !(a == b);
}

/** A named shared-memory region. */
class hidl_memory {
  public:
    hidl_memory() = default;
    hidl_memory(hidl_string name, hidl_handle handle, size_t size)
        : mHandle(std::move(handle)), mSize(size), mName(std::move(name)) {}

    const native_handle_t* handle() const { return mHandle; }
    const hidl_string& name() const { return mName; }
    uint64_t size() const { return mSize; }

  private:
    hidl_handle mHandle;
    uint64_t mSize = 0;
    hidl_string mName;
};

/** The bits of an enumeration. */
template <typename T>
using hidl_bitfield = std::underlying_type_t<T>;

namespace details {

/** Specialised by generated headers for each enumeration. */
template <typename T>
inline constexpr std::array<T, 0> hidl_enum_values = {};

template <typename T>
std::string toHexString(T value) {
    static_assert(std::is_integral_v<T>);
    char digits[2 * sizeof(value)];
    const auto end =
        std::to_chars(digits, std::end(digits), static_cast<std::make_unsigned_t<T>>(value), 16);
    return "0x" + std::string(digits, end.ptr);
}

}  // namespace details

template <typename T>
std::enable_if_t<std::is_arithmetic_v<T>, std::string> toString(T value) {
    return std::to_string(value);
}
inline std::string toString(bool value) {
    return value ? "true" : "false";
}
inline std::string toString(const hidl_string& value) {
    return '"' + std::string(value) + '"';
}
std::string toString(const hidl_handle& value);

namespace details {
template <typename Elements>
std::string elementsToString(const Elements& elements) {
    using android::hardware::toString;
    std::string text = "[";
    for (size_t i = 0; i < elements.size(); ++i) {
        text += (i == 0 ? "" : ", ") + toString(elements[i]);
    }
    return text + "]";
}
}  // namespace details

template <typename T>
std::string toString(const hidl_vec<T>& value) {
    return details::elementsToString(value);
}
template <typename T, size_t SIZE1>
std::string toString(const hidl_array<T, SIZE1>& value) {
    return details::elementsToString(value);
}

}  // namespace android::hardware
