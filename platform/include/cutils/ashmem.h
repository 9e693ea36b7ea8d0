// Anonymous shared memory that cannot shrink: a process that maps a valid region can access all of
// it without a SIGBUS, whatever the region's creator does.
#pragma once

#include <cstddef>

extern "C" {

/** @return a descriptor, or -1 with errno set */
int ashmem_create_region(const char* name, size_t size);
/**
 * @return 1 for a region that cannot shrink and can be mapped in parts, 0 for any other descriptor
 */
int ashmem_valid(int fd);
/** @return the size in bytes, or -1 with errno set */
int ashmem_get_size_region(int fd);

}  // extern "C"
