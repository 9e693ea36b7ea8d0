// Tables of invalid queues and shared memory of a broken peer, which must be refused.
#pragma once

#include <android-base/unique_fd.h>
#include <cutils/ashmem.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <hidl/MQDescriptor.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "support/handle.h"

namespace TestSupport {

using android::hardware::GrantorDescriptor;

/// Larger than anything that is looked for in it.
inline constexpr size_t kMemorySize = 1 << 20;

/// Descriptors of what is not to be mapped as shared memory.
struct NoMemory {
    const char* name;
    int (*make)();
};
inline const NoMemory kNoMemory[] = {
    {"a pipe",
     [] {
         int ends[2];
         EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
         close(ends[1]);
         return ends[0];
     }},
    {"a socket", [] { return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0); }},
    {"a counter of events", [] { return eventfd(0, EFD_CLOEXEC); }},
    {"a file", [] { return open("/proc/self/exe", O_RDONLY | O_CLOEXEC); }},
    {"a device", [] { return open("/dev/zero", O_RDWR | O_CLOEXEC); }},
    {"a directory", [] { return open("/", O_RDONLY | O_CLOEXEC); }},
    {"memory that can shrink",
     [] {
         const int fd = memfd_create("shrinking", MFD_CLOEXEC | MFD_ALLOW_SEALING);
         EXPECT_EQ(ftruncate(fd, kMemorySize), 0);
         return fd;
     }},
    {"memory that cannot be sealed",
     [] {
         const int fd = memfd_create("unsealed", MFD_CLOEXEC);
         EXPECT_EQ(ftruncate(fd, kMemorySize), 0);
         return fd;
     }},
    {"memory of no size",
     [] {
         const int fd = memfd_create("empty", MFD_CLOEXEC | MFD_ALLOW_SEALING);
         EXPECT_EQ(fcntl(fd, F_ADD_SEALS, F_SEAL_SHRINK), 0);
         return fd;
     }},
    {"memory that cannot be mapped",
     [] {
         const android::base::unique_fd fd(ashmem_create_region("closed", kMemorySize));
         const std::string path = "/proc/self/fd/" + std::to_string(fd.get());
         return open(path.c_str(), O_WRONLY | O_CLOEXEC);
     }},
};

/// What a queue's descriptor says.
struct QueueParts {
    std::vector<GrantorDescriptor> grantors;
    std::vector<int> descriptors;
    uint32_t quantum;
    uint32_t flavor = android::hardware::kSynchronizedReadWrite;
};

/// Of a queue with nothing wrong.
template <typename Record>
QueueParts queueParts(size_t capacity) {
    constexpr uint32_t kRing = 128;
    const size_t size = capacity * sizeof(Record);
    return {{{0, 0, 0, 8}, {0, 0, 64, 8}, {0, 0, kRing, size}},
            {ashmem_create_region("queue", kRing + size)},
            sizeof(Record)};
}

/// Owns the descriptors.
template <typename Record>
struct BrokenDescriptor : android::hardware::MQDescriptorSync<Record> {
    explicit BrokenDescriptor(const QueueParts& parts)
        : BrokenDescriptor::MQDescriptor(parts.grantors, nativeHandleOf(parts.descriptors),
                                         parts.quantum) {
        // The other constructor knows one flavour only.
        constexpr size_t kFlavorOffset = sizeof(*this) - sizeof(parts.flavor);
        std::memcpy(reinterpret_cast<std::byte*>(this) + kFlavorOffset, &parts.flavor,
                    sizeof(parts.flavor));
    }
};
template <typename Record>
BrokenDescriptor<Record> descriptorOf(const QueueParts& parts) {
    return BrokenDescriptor<Record>(parts);
}

/// Changes that make a queue invalid, or one of zero records.
struct BrokenQueue {
    const char* name;
    void (*spoil)(QueueParts&);
};
inline const BrokenQueue kBrokenQueues[] = {
    {"no parts", [](QueueParts& queue) { queue.grantors.clear(); }},
    {"no ring", [](QueueParts& queue) { queue.grantors.pop_back(); }},
    {"no memory",
     [](QueueParts& queue) {
         close(queue.descriptors[0]);
         queue.descriptors.clear();
     }},
    {"a counter of half the size", [](QueueParts& queue) { queue.grantors[0].extent = 4; }},
    {"a counter between words", [](QueueParts& queue) { queue.grantors[1].offset = 4; }},
    {"a counter out of reach", [](QueueParts& queue) { queue.grantors[1].offset = ~7U; }},
    {"a counter in other memory", [](QueueParts& queue) { queue.grantors[1].fdIndex = 1; }},
    {"a ring in other memory", [](QueueParts& queue) { queue.grantors[2].fdIndex = ~0U; }},
    {"a ring between words", [](QueueParts& queue) { queue.grantors[2].offset -= 1; }},
    {"a ring of nothing", [](QueueParts& queue) { queue.grantors[2].extent = 0; }},
    {"a ring of parts", [](QueueParts& queue) { queue.grantors[2].extent -= 1; }},
    {"a ring that begins too late", [](QueueParts& queue) { queue.grantors[2].offset += 8; }},
    {"a ring that ends too late",
     [](QueueParts& queue) { queue.grantors[2].extent += queue.quantum; }},
    {"a ring without end",
     [](QueueParts& queue) {
         queue.grantors[2].extent = UINT64_MAX / queue.quantum * queue.quantum;
     }},
    {"other records", [](QueueParts& queue) { queue.quantum *= 2; }},
    {"records of no size", [](QueueParts& queue) { queue.quantum = 0; }},
    {"another flavour", [](QueueParts& queue) { queue.flavor = 2; }},
};

}  // namespace TestSupport
