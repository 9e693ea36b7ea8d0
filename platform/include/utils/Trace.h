// Scopes in the system trace, of which a workstation has none.
#pragma once

#include <cutils/trace.h>

#include <cstdint>

#define MORIAK_PASTE_TOKENS(a, b) a##b
#define PASTE(a, b) MORIAK_PASTE_TOKENS(a, b)

namespace android {

struct ScopedTrace {
    ScopedTrace(uint64_t /*tag*/, const char* /*name*/) {}
    ~ScopedTrace() {}  // user-provided, so that an unused scope is no unused variable
};

}  // namespace android
