// Maps regions of ashmem, which cannot shrink under a reader.
#include "os/shared_bytes.h"

#include <cutils/ashmem.h>
#include <sys/mman.h>

namespace Vek::OS {

SharedBytes mapSharedBytes(int fd) {
    const int size = ashmem_valid(fd) != 0 ? ashmem_get_size_region(fd) : 0;
    if (size <= 0) {
        return nullptr;
    }
    const auto length = static_cast<size_t>(size);
    void* const address = mmap(nullptr, length, PROT_READ, MAP_SHARED, fd, 0);
    if (address == MAP_FAILED) {
        return nullptr;
    }
    const auto unmap = [address, length](const gsl::span<const std::byte>* bytes) {
        munmap(address, length);
        delete bytes;
    };
    return {new gsl::span<const std::byte>{static_cast<const std::byte*>(address), length}, unmap};
}

}  // namespace Vek::OS
