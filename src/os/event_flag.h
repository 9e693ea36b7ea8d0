// Event-flag words in shared memory of their own.
#pragma once

#include <fmq/EventFlag.h>
#include <hidl/HidlSupport.h>

#include <string>

namespace Vek::OS {

/// Creates a zeroed event-flag word that other processes can map.
/// @param name labels the shared memory, for debugging.
/// @return a handle that owns one descriptor, with the word at offset 0; without a native handle
/// if the memory could not be had.
android::hardware::hidl_handle createEventFlagHandle(const std::string& name);

/// Maps the word behind a handle.
/// @return owned by the caller (EventFlag::deleteEventFlag); null if the handle holds no such word.
android::hardware::EventFlag* createEventFlagFromHandle(
    const android::hardware::hidl_handle& handle);

}  // namespace Vek::OS
