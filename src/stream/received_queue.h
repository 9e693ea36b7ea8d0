// Queues that the HAL service makes and this process maps.
#pragma once

#include <cutils/ashmem.h>
#include <hidl/MQDescriptor.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace Vek::Sensors::HidlWrapper {

/// Whether a queue's part lies entirely inside shared memory of the handle.
inline bool liesInMemory(const android::hardware::GrantorDescriptor& part,
                         const native_handle_t& handle, size_t alignment) {
    if (part.fdIndex >= static_cast<uint32_t>(std::max(handle.numFds, 0)) ||
        part.offset % alignment != 0) {
        return false;
    }
    const int fd = handle.data[part.fdIndex];
    const int64_t size = ashmem_valid(fd) != 0 ? ashmem_get_size_region(fd) : -1;
    return part.offset <= size && part.extent <= static_cast<uint64_t>(size - part.offset);
}

/// Whether the descriptor describes a queue of `Record`s whose parts lie inside shared memory of a
/// fixed size. Check this before mapping a queue that the service has sent: not every release of
/// the runtime checks what it maps.
template <typename Record>
bool describesQueue(const android::hardware::MQDescriptorSync<Record>& descriptor) {
    using Descriptor = android::hardware::MQDescriptorSync<Record>;
    using Counter = uint64_t;
    const native_handle_t* const handle = descriptor.handle();
    const auto& parts = descriptor.grantors();
    if (handle == nullptr || parts.size() <= Descriptor::DATAPTRPOS ||
        descriptor.getQuantum() != sizeof(Record) ||
        static_cast<uint32_t>(descriptor.getFlags()) != android::hardware::kSynchronizedReadWrite) {
        return false;
    }
    const auto isCounter = [handle](const android::hardware::GrantorDescriptor& part) {
        return part.extent == sizeof(Counter) && liesInMemory(part, *handle, alignof(Counter));
    };
    // The runtime also maps the event-flag word, if there is one.
    if (parts.size() > Descriptor::EVFLAGWORDPOS &&
        !liesInMemory(parts[Descriptor::EVFLAGWORDPOS], *handle, alignof(uint32_t))) {
        return false;
    }
    const auto& ring = parts[Descriptor::DATAPTRPOS];
    return isCounter(parts[Descriptor::READPTRPOS]) && isCounter(parts[Descriptor::WRITEPTRPOS]) &&
           ring.extent > 0 && ring.extent % sizeof(Record) == 0 &&
           liesInMemory(ring, *handle, alignof(Record));
}

}  // namespace Vek::Sensors::HidlWrapper
