// Reference counting: objects live as long as strong references to them do; weak references can be
// turned into strong ones while the object lives.
#pragma once

#include <utils/StrongPointer.h>

#include <atomic>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace android {

/**
 * Base of all objects that sp and wp refer to. Counting is thread-safe. The object is deleted with
 * its last strong reference, even if that was promoted from a weak one inside the constructor. An
 * object that never has a strong reference may live on the stack.
 */
class RefBase {
  public:
    /** The counts. They outlive the object while weak references exist. */
    class weakref_type {
      public:
        void incWeak(const void* /*id*/) { weak_.fetch_add(1, std::memory_order_relaxed); }
        void decWeak(const void* id);
        /** @return whether a strong reference was added; false if the object is dead */
        bool attemptIncStrong(const void* /*id*/) {
            int32_t count = strong_.load(std::memory_order_relaxed);
            while (count > 0 &&
                   !strong_.compare_exchange_weak(count, count + 1, std::memory_order_acquire,
                                                  std::memory_order_relaxed)) {
            }
            if (count == kNeverHeld) strong_.fetch_sub(kNeverHeld, std::memory_order_relaxed);
            return count > 0;
        }

      private:
        friend class RefBase;
        /** Added to the count until the first strong reference exists. */
        static constexpr int32_t kNeverHeld = 1 << 28;
        std::atomic<int32_t> strong_{kNeverHeld};
        /** The object itself holds one of these. */
        std::atomic<int32_t> weak_{1};
    };

    void incStrong(const void* /*id*/) const {
        const int32_t before = refs_->strong_.fetch_add(1, std::memory_order_relaxed);
        if (before == weakref_type::kNeverHeld) {
            refs_->strong_.fetch_sub(weakref_type::kNeverHeld, std::memory_order_relaxed);
        }
    }
    void decStrong(const void* id) const;
    int32_t getStrongCount() const { return refs_->strong_.load(std::memory_order_relaxed); }
    /** @return with a weak reference added */
    weakref_type* createWeak(const void* id) const {
        refs_->incWeak(id);
        return refs_;
    }

    RefBase(const RefBase&) = delete;
    RefBase& operator=(const RefBase&) = delete;

  protected:
    RefBase() : refs_(new weakref_type) {}
    virtual ~RefBase();

  private:
    weakref_type* const refs_;
};

/** A weak reference. */
template <typename T>
class wp {
  public:
    wp() = default;
    wp(T* object) : pointer_(object) {  // NOLINT: implicit as published
        refs_ = object == nullptr ? nullptr : object->createWeak(this);
    }
    template <typename U, typename = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    wp(const sp<U>& other) : wp(static_cast<T*>(other.get())) {}  // NOLINT: implicit as published
    wp(const wp& other) : pointer_(other.pointer_), refs_(other.refs_) {
        if (refs_ != nullptr) refs_->incWeak(this);
    }
    wp(wp&& other) noexcept
        : pointer_(std::exchange(other.pointer_, nullptr)),
          refs_(std::exchange(other.refs_, nullptr)) {}
    ~wp() { clear(); }

    wp& operator=(wp other) noexcept {
        std::swap(pointer_, other.pointer_);
        std::swap(refs_, other.refs_);
        return *this;
    }

    void clear() {
        pointer_ = nullptr;
        if (auto* refs = std::exchange(refs_, nullptr)) refs->decWeak(this);
    }

    /** @return null once the object is gone */
    sp<T> promote() const {
        sp<T> result;
        if (refs_ != nullptr && refs_->attemptIncStrong(this)) result.adopt(pointer_);
        return result;
    }

    friend bool operator==(const wp& a, const wp& b) { return a.refs_ == b.refs_; }
    friend bool operator!=(const wp& a, const wp& b) { return a.refs_ != b.refs_; }

  private:
    T* pointer_ = nullptr;
    RefBase::weakref_type* refs_ = nullptr;
};

}  // namespace android
