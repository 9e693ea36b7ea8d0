// A vector of fixed capacity that never touches the heap.
#pragma once

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

#include "os/always_assert.h"

namespace Vek::OS {
namespace storage {

/// Holds elements that need neither construction nor destruction.
template <typename T, size_t Capacity>
class TrivialStorage {
  public:
    T* data() { return data_; }
    const T* data() const { return data_; }
    size_t size() const { return size_; }
    static constexpr size_t capacity() { return Capacity; }

    void setSize(size_t size) {
        VEK_ALWAYS_ASSERT(size <= capacity() && "invalid size update");
        size_ = size;
    }

  private:
    T data_[Capacity];
    size_t size_ = 0;
};

/// Holds elements that are constructed in place and destroyed with the storage.
template <typename T, size_t Capacity>
class NonTrivialStorage {
  public:
    NonTrivialStorage() = default;
    // Elements are constructed in place.
    NonTrivialStorage(const NonTrivialStorage&) = delete;
    NonTrivialStorage& operator=(const NonTrivialStorage&) = delete;

    ~NonTrivialStorage() {
        for (size_t i = 0; i < size_; ++i) {
            data()[i].~T();
        }
    }

    T* data() { return std::launder(reinterpret_cast<T*>(data_)); }
    const T* data() const { return std::launder(reinterpret_cast<const T*>(data_)); }
    size_t size() const { return size_; }
    static constexpr size_t capacity() { return Capacity; }

    void setSize(size_t size) {
        VEK_ALWAYS_ASSERT(size <= capacity() && "invalid size update");
        size_ = size;
    }

  private:
    alignas(T) std::byte data_[sizeof(T) * Capacity];
    size_t size_ = 0;
};

}  // namespace storage

/// Checks are active in every build; a failed check ends the process like a failed assert().
template <typename T, size_t Capacity>
class StaticVector {
  public:
    using value_type = T;

    template <typename... Arguments>
    T& emplace_back(Arguments&&... arguments) {
        VEK_ALWAYS_ASSERT(!full() && "cannot emplace_back on full storage");
        T* const element = new (storage_.data() + size()) T(std::forward<Arguments>(arguments)...);
        storage_.setSize(size() + 1);
        return *element;
    }

    void push_back(const T& value) { emplace_back(value); }
    void push_back(T&& value) { emplace_back(std::move(value)); }

    /// Appends the result of `convert` for each source. `convert` must not throw.
    template <typename Source, typename Convert>
    void append(const Source* sources, size_t count, Convert convert) {
        T* const end = data() + size();
        storage_.setSize(size() + count);
        for (size_t i = 0; i < count; ++i) {
            new (end + i) T(convert(sources[i]));
        }
    }

    size_t size() const { return storage_.size(); }
    static constexpr size_t capacity() { return Capacity; }
    bool full() const { return size() == capacity(); }

    T* data() { return storage_.data(); }
    const T* data() const { return storage_.data(); }

    /// The check also accepts `pos == size()`; callers must stay below size().
    T& at(size_t pos) {
        VEK_ALWAYS_ASSERT(pos <= size() && "invalid storage index");
        return data()[pos];
    }

  private:
    // std::is_trivial, not std::is_trivially_copyable: TrivialStorage never constructs its
    // elements.
    using Storage = std::conditional_t<std::is_trivial_v<T>, storage::TrivialStorage<T, Capacity>,
                                       storage::NonTrivialStorage<T, Capacity>>;

    Storage storage_;
};

}  // namespace Vek::OS
