// The system trace. A workstation has none, so these functions do nothing.
#pragma once

#include <cstdint>

#define ATRACE_TAG_HAL (uint64_t{1} << 11)

inline void atrace_begin(uint64_t /*tag*/, const char* /*name*/) {}
inline void atrace_end(uint64_t /*tag*/) {}
