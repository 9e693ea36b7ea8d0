// Base classes of generated code, apart from its interfaces.
#pragma once

#include <android-base/macros.h>

#include <functional>
#include <string>
#include <vector>

namespace android::hardware::details {

/** Tags by which templates tell interfaces, proxies, stubs and passthrough wrappers apart. */
struct i_tag {};
struct bphw_tag {};
struct bnhw_tag {};
struct bs_tag {};

/** Does nothing: a workstation has no instrumentation. */
struct HidlInstrumentor {
    HidlInstrumentor(const std::string& /*package*/, const std::string& /*interface*/) {}
    void configureInstrumentation() {}
};

}  // namespace android::hardware::details
