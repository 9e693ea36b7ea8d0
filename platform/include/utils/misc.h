// System properties do not exist on a workstation, so nobody needs to hear of their change.
#pragma once

namespace android {

inline void report_sysprop_change() {}

}  // namespace android
