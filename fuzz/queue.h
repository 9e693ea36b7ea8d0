// Uses a queue whose counters cannot be trusted.
#pragma once

#include <fmq/MessageQueue.h>

#include <cstdint>

#include "target.h"

namespace Fuzz {

/// Uses the records of a queue's transaction as the library does, each byte of them.
/// @param ring where they must lie
template <typename Region, typename Transaction>
void touch(const Region& ring, const Transaction& records, size_t count) {
    VEK_ALWAYS_ASSERT(count ==
                      records.getFirstRegion().getLength() + records.getSecondRegion().getLength());
    for (const Region& region : {records.getFirstRegion(), records.getSecondRegion()}) {
        const auto* const end = region.getAddress() + region.getLength();
        VEK_ALWAYS_ASSERT(region.getAddress() >= ring.getAddress() &&
                          end <= ring.getAddress() + ring.getLength());
        for (auto* byte = reinterpret_cast<volatile uint8_t*>(region.getAddress());
             byte != reinterpret_cast<const volatile uint8_t*>(end); ++byte) {
            *byte = static_cast<uint8_t>(*byte + 1);
        }
    }
}

/// Reads and writes as much as the counters let it.
template <typename Queue>
void use(Queue& queue, const typename Queue::MemRegion& ring) {
    typename Queue::MemTransaction records;
    const size_t unread = queue.availableToRead();
    if (queue.beginRead(unread, &records)) {
        touch(ring, records, unread);
        queue.commitRead(unread);
    }
    const size_t room = queue.availableToWrite();
    if (queue.beginWrite(room, &records)) {
        touch(ring, records, room);
        queue.commitWrite(room);
    }
}

/// The ring of an empty queue.
template <typename Queue>
typename Queue::MemRegion ringOf(const Queue& queue) {
    typename Queue::MemTransaction whole;
    VEK_ALWAYS_ASSERT(queue.beginWrite(queue.getQuantumCount(), &whole));
    VEK_ALWAYS_ASSERT(whole.getFirstRegion().getLength() == queue.getQuantumCount());
    return whole.getFirstRegion();
}

}  // namespace Fuzz
