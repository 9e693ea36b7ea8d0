// Maps a part of a region of shared memory that another process may have made.
#pragma once

#include <cstddef>
#include <cstdint>

namespace android::hardware::details {

struct SharedMapping {
    /** To be unmapped, with `size`. */
    void* base = nullptr;
    size_t size = 0;
    /** Where the asked-for part is; null if it could not be mapped. */
    void* address = nullptr;
};

/** Nothing is mapped unless the region cannot shrink and holds all of the part. */
SharedMapping mapShared(int fd, uint64_t offset, uint64_t extent);

}  // namespace android::hardware::details
