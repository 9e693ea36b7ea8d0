// Small macros that generated code relies on.
#pragma once

#define UNLIKELY(expression) __builtin_expect(!!(expression), false)
#define LIKELY(expression) __builtin_expect(!!(expression), true)
