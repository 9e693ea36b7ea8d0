// Checked mapping of shared memory.
#include <fmq/SharedMapping.h>

#include <cutils/ashmem.h>
#include <sys/mman.h>
#include <unistd.h>

namespace android::hardware::details {

SharedMapping mapShared(int fd, uint64_t offset, uint64_t extent) {
    if (ashmem_valid(fd) == 0) return {};
    const int regionSize = ashmem_get_size_region(fd);
    if (regionSize < 0 || extent == 0) return {};
    const auto available = static_cast<uint64_t>(regionSize);
    if (offset > available || extent > available - offset) return {};
    const uint64_t inPage = offset % static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    SharedMapping mapping;
    mapping.size = static_cast<size_t>(inPage + extent);
    mapping.base = mmap(nullptr, mapping.size, PROT_READ | PROT_WRITE, MAP_SHARED, fd,
                        static_cast<off_t>(offset - inPage));
    if (mapping.base == MAP_FAILED) return {};
    mapping.address = static_cast<std::byte*>(mapping.base) + inPage;
    return mapping;
}

}  // namespace android::hardware::details
