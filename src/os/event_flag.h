// Event-flag words in shared memory of their own.
#pragma once

#include <fmq/EventFlag.h>
#include <hidl/HidlSupport.h>

#include <cstdint>
#include <string>

namespace Vek::OS {

/// Creates a zeroed event-flag word that other processes can map.
/// @param name labels the shared memory, for debugging; truncated if it is too long.
/// @return a handle that owns one descriptor, with the word at offset 0; without a native handle if
/// memory is exhausted.
android::hardware::hidl_handle createEventFlagHandle(const std::string& name);

/// Maps the word behind a handle.
/// @return owned by the caller (deleteEventFlag); null unless the handle's first descriptor is
/// ashmem that is large enough for a word.
android::hardware::EventFlag* createEventFlagFromHandle(
    const android::hardware::hidl_handle& handle);

/// Sets bits, and wakes the threads that wait for one of them. Unlike EventFlag::wake, it also does
/// so for bits that are already set: another process may have set them without a wake.
/// @param eventFlag from createEventFlagFromHandle.
void wakeEventFlag(android::hardware::EventFlag& eventFlag, uint32_t bits);

/// Deletes an event flag, unmaps its word if createEventFlagFromHandle mapped it, and sets the
/// pointer to null. A null pointer has no effect.
void deleteEventFlag(android::hardware::EventFlag** eventFlag);

}  // namespace Vek::OS
