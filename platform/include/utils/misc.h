// Callbacks for changes of system properties. A workstation has none, so this does nothing.
#pragma once

namespace android {

inline void report_sysprop_change() {}

}  // namespace android
