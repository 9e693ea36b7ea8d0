// Maps a part of a region of shared memory that another process may have made.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace android::hardware::details {

struct Unmap {
    size_t extent = 0;
    void operator()(void* address) const;
};

/** The mapped part; valid until this object is destroyed. */
using SharedMapping = std::unique_ptr<void, Unmap>;

/** Null unless the region cannot shrink and holds all of the part. */
SharedMapping mapShared(int fd, uint64_t offset, uint64_t extent);

}  // namespace android::hardware::details
