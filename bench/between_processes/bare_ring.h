// The least code that hands records over between two processes, with the same signals as the
// streams have: a ring, and a word that says "data ready" one way and "read done" the other.
#pragma once

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstddef>
#include <cstdint>

namespace Bench {

/// All zero is a good start.
template <size_t recordSize>
struct BareRing {
    static constexpr size_t kCapacity = 32;
    static constexpr uint32_t kDataReady = 1U << 0;
    static constexpr uint32_t kReadDone = 1U << 15;

    struct Record {
        int64_t timestamp;
        std::byte rest[recordSize - sizeof(int64_t)];
    };

    /// There must be room.
    void write(const Record& record) {
        const uint64_t position = written.load(std::memory_order_relaxed);
        records[position % kCapacity] = record;
        written.store(position + 1, std::memory_order_release);
        signal(kDataReady);
    }

    /// Waits for records and hands all of them to `use`, in place. @return how many there were
    template <typename Use>
    size_t read(Use use) {
        await(kDataReady);
        const uint64_t begin = done.load(std::memory_order_relaxed);
        const uint64_t end = written.load(std::memory_order_acquire);
        for (uint64_t i = begin; i < end; ++i) {
            use(records[i % kCapacity]);
        }
        done.store(end, std::memory_order_release);
        signal(kReadDone);
        return end - begin;
    }

    void awaitRoom() {
        while (written.load(std::memory_order_relaxed) - done.load(std::memory_order_acquire) ==
               kCapacity) {
            awaitReadDone();
        }
    }
    void awaitReadDone() { await(kReadDone); }
    void takeReadDone() { word.fetch_and(~kReadDone, std::memory_order_acquire); }

    void signal(uint32_t bit) {
        if ((word.fetch_or(bit, std::memory_order_release) & bit) == 0) {
            syscall(SYS_futex, &word, FUTEX_WAKE_BITSET, INT_MAX, nullptr, nullptr, bit);
        }
    }

    void await(uint32_t bit) {
        while (true) {
            const uint32_t before = word.fetch_and(~bit, std::memory_order_acquire);
            if ((before & bit) != 0) {
                return;
            }
            syscall(SYS_futex, &word, FUTEX_WAIT_BITSET, before, nullptr, nullptr, bit);
        }
    }

    alignas(64) std::atomic<uint64_t> written;
    alignas(64) std::atomic<uint64_t> done;
    alignas(64) std::atomic<uint32_t> word;
    alignas(64) Record records[kCapacity];
};

/// In memory that all processes of a run share.
struct BareRings {
    BareRing<64> samples;
    BareRing<744> frameSets;
    BareRing<744> recycledFrameSets;
};

}  // namespace Bench
