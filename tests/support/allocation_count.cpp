// Replaces the operators of the whole program it is linked into. All forms: sanitizers would
// otherwise mix theirs with ours.
#include "support/allocation_count.h"

#include <atomic>
#include <cstdlib>
#include <new>

static std::atomic<size_t> allocations{0};

size_t TestSupport::allocationCount() {
    return allocations;
}

#ifndef MORIAK_ALLOCATIONS_ARE_NOT_COUNTED

void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
    ++allocations;
    return std::malloc(size);
}
void* operator new(size_t size) {
    if (void* memory = operator new(size, std::nothrow)) {
        return memory;
    }
    throw std::bad_alloc{};
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, size_t /*size*/) noexcept {
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}

#endif
