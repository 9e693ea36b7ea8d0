// Hints for the compiler.
#pragma once

#define CC_LIKELY(expression) __builtin_expect(!!(expression), 1)
#define CC_UNLIKELY(expression) __builtin_expect(!!(expression), 0)
