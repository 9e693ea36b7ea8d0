// Event-flag words in shared memory of their own.
#pragma once

#include <fmq/EventFlag.h>
#include <hidl/HidlSupport.h>

#include <string>

namespace Vek::OS {

/// Creates a zeroed event-flag word that other processes can map.
/// @param name labels the shared memory, for debugging; cut if it is too long for that.
/// @return a handle that owns one descriptor, with the word at offset 0; without a native handle
/// if the memory could not be had.
android::hardware::hidl_handle createEventFlagHandle(const std::string& name);

/// Maps the word behind a handle.
/// @return owned by the caller (deleteEventFlag); null unless the handle's first descriptor is of
/// ashmem with room for a word.
android::hardware::EventFlag* createEventFlagFromHandle(
    const android::hardware::hidl_handle& handle);

/// Deletes an event flag, unmaps its word if createEventFlagFromHandle mapped it, and sets the
/// pointer to null. A null pointer is left alone.
void deleteEventFlag(android::hardware::EventFlag** eventFlag);

}  // namespace Vek::OS
