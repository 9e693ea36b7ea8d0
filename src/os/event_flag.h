// Event-flag words in shared memory of their own.
#pragma once

#include <fmq/EventFlag.h>
#include <hidl/HidlSupport.h>

#include <cstdint>
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

/// Sets bits, and wakes those who wait for one of them even if it was set already: another process
/// may have set it without a wake, which EventFlag::wake takes for one.
/// @param eventFlag from createEventFlagFromHandle.
void wakeEventFlag(android::hardware::EventFlag& eventFlag, uint32_t bits);

/// Deletes an event flag, unmaps its word if createEventFlagFromHandle mapped it, and sets the
/// pointer to null. A null pointer is left alone.
void deleteEventFlag(android::hardware::EventFlag** eventFlag);

}  // namespace Vek::OS
