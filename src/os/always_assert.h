// An assert() that is checked even if NDEBUG is defined.
#pragma once

#include <cassert>

#ifdef __ANDROID__
#define VEK_ASSERTION_FAILED(text) __assert2(__FILE__, __LINE__, __PRETTY_FUNCTION__, text)
#else
// The C library declares its own reporting function only while assertions are on.
// NOLINTNEXTLINE(readability-redundant-declaration)
extern "C" void __assert_fail(const char* assertion, const char* file, unsigned int line,
                              const char* function) noexcept __attribute__((__noreturn__));
#define VEK_ASSERTION_FAILED(text) __assert_fail(text, __FILE__, __LINE__, __PRETTY_FUNCTION__)
#endif

#define VEK_ALWAYS_ASSERT(condition)                              \
    (__builtin_expect(!!(condition), true) ? static_cast<void>(0) \
                                           : VEK_ASSERTION_FAILED(#condition))
