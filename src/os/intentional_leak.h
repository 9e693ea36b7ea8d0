// Marks intentional leaks, so that leak checkers report only the others.
#pragma once

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#include <sanitizer/lsan_interface.h>
#define VEK_HAS_LEAK_CHECKER
#endif
#endif

namespace Vek::OS {

/// @param object stays allocated until the process ends.
inline void leakIntentionally([[maybe_unused]] const void* object) {
#ifdef VEK_HAS_LEAK_CHECKER
    __lsan_ignore_object(object);
#endif
}

}  // namespace Vek::OS
