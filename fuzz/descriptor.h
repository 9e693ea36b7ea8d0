// Descriptors that another process may send: valid shared memory, and others.
#pragma once

#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

#include "target.h"

namespace Fuzz {

/// @param size approximate size of the shared memory
inline int descriptorOfSomeKind(FuzzedDataProvider& input, size_t size) {
    enum Kind { kMemory, kEventFlag, kClosed, kMaxValue = kClosed };
    const auto kind = input.ConsumeEnum<Kind>();
    if (kind != kMemory) {
        return kind == kEventFlag ? eventfd(0, EFD_CLOEXEC) : -1;
    }
    const int fd = memfd_create("fuzz", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    const auto seals = input.ConsumeIntegral<uint8_t>();
    const auto surplus = input.ConsumeIntegral<int8_t>();
    VEK_ALWAYS_ASSERT(ftruncate(fd, static_cast<off_t>(size) + surplus) == 0);
    fcntl(fd, F_ADD_SEALS, seals ^ F_SEAL_SHRINK);
    return fd;
}

}  // namespace Fuzz
