// Scopes in the system trace. A workstation has none, so they do nothing.
#pragma once

#include <cutils/trace.h>

#include <cstdint>

#define MORIAK_PASTE_TOKENS(a, b) a##b
#define PASTE(a, b) MORIAK_PASTE_TOKENS(a, b)

namespace android {

struct ScopedTrace {
    ScopedTrace(uint64_t /*tag*/, const char* /*name*/) {}
    ~ScopedTrace() {}  // user-provided, so that the compiler does not warn of an unused variable
};

}  // namespace android
