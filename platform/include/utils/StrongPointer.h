// A pointer that keeps a reference-counted object alive.
#pragma once

#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

namespace android {

template <typename T>
class wp;

/** A strong reference to an object that counts them (utils/RefBase.h); may be null. */
template <typename T>
class sp {
  public:
    sp() = default;
    sp(std::nullptr_t) {}               // NOLINT: implicit as published
    sp(T* object) : pointer_(object) {  // NOLINT: implicit as published
        if (pointer_ != nullptr) pointer_->incStrong(this);
    }
    sp(const sp& other) : sp(other.pointer_) {}
    sp(sp&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
    template <typename U, typename = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    sp(U* object) : sp(static_cast<T*>(object)) {}  // NOLINT: implicit as published
    template <typename U, typename = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    sp(const sp<U>& other) : sp(static_cast<T*>(other.get())) {}  // NOLINT: implicit as published
    ~sp() { clear(); }

    sp& operator=(sp other) noexcept {
        std::swap(pointer_, other.pointer_);
        return *this;
    }

    void clear() {
        if (T* object = std::exchange(pointer_, nullptr)) object->decStrong(this);
    }

    T* get() const { return pointer_; }
    T* operator->() const { return pointer_; }
    T& operator*() const { return *pointer_; }
    explicit operator bool() const { return pointer_ != nullptr; }

    friend bool operator==(const sp& a, const sp& b) { return a.pointer_ == b.pointer_; }
    friend bool operator!=(const sp& a, const sp& b) { return a.pointer_ != b.pointer_; }
    friend bool operator<(const sp& a, const sp& b) {
        return std::less<T*>()(a.pointer_, b.pointer_);
    }

  private:
    friend class wp<T>;
    /** Takes over a reference that is already counted. */
    void adopt(T* object) { pointer_ = object; }

    T* pointer_ = nullptr;
};

}  // namespace android
