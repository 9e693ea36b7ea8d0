// A bundle of file descriptors and integers.
#pragma once

#define NATIVE_HANDLE_MAX_FDS 1024
#define NATIVE_HANDLE_MAX_INTS 1024

extern "C" {

typedef struct native_handle {
    /** sizeof(native_handle_t) */
    int version;
    int numFds;
    int numInts;
    /** numFds descriptors, then numInts integers */
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wzero-length-array"
    int data[0];
#pragma clang diagnostic pop
} native_handle_t;

/** @return null if memory is exhausted or a count is out of range; the caller deletes the handle */
native_handle_t* native_handle_create(int numFds, int numInts);
/** @return a deep copy with descriptors of its own; null, with errno set, if that fails */
native_handle_t* native_handle_clone(const native_handle_t* handle);
/** Closes the descriptors. @return 0, or -EINVAL for an invalid handle */
int native_handle_close(const native_handle_t* handle);
/** Frees the memory. @return 0, or -EINVAL for an invalid handle */
int native_handle_delete(native_handle_t* handle);

}  // extern "C"
