// Counts what a test program takes from the heap.
#pragma once

#include <cstddef>

namespace TestSupport {

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define MORIAK_ALLOCATIONS_ARE_NOT_COUNTED
#endif
#endif

/// False under ThreadSanitizer, where programs cannot replace the operators; tests then skip
/// themselves.
#ifdef MORIAK_ALLOCATIONS_ARE_NOT_COUNTED
inline constexpr bool kCountsAllocations = false;
#else
inline constexpr bool kCountsAllocations = true;
#endif

/// Calls of operator new since the program's start, of all threads.
size_t allocationCount();

}  // namespace TestSupport
