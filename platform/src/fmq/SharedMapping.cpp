// Checked mapping of shared memory.
#include <fmq/SharedMapping.h>

#include <cutils/ashmem.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

namespace android::hardware::details {

namespace {
// Only whole pages can be mapped, so the mapping starts at the beginning of the part's first page.
uint64_t offsetInPage(uint64_t position) {
    return position % static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}
}  // namespace

void Unmap::operator()(void* address) const {
    const uint64_t inPage = offsetInPage(reinterpret_cast<uintptr_t>(address));
    munmap(static_cast<std::byte*>(address) - inPage, inPage + extent);
}

SharedMapping mapShared(int fd, uint64_t offset, uint64_t extent) {
    const int size = ashmem_get_size_region(fd);
    if (size < 0 || extent == 0) return nullptr;
    const auto available = static_cast<uint64_t>(size);
    if (offset > available || extent > available - offset) return nullptr;
    const uint64_t inPage = offsetInPage(offset);
    void* const base = mmap(nullptr, inPage + extent, PROT_READ | PROT_WRITE, MAP_SHARED, fd,
                            static_cast<off_t>(offset - inPage));
    if (base == MAP_FAILED) return nullptr;
    return SharedMapping(static_cast<std::byte*>(base) + inPage, Unmap{extent});
}

}  // namespace android::hardware::details
