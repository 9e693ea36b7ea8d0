// The least code that hands records over between two processes, with the same signals as the
// streams have: a ring that says "data ready" one way and "read done" the other, by a word that is
// waited for as streams wait, or by two eventfds.
#pragma once

#include <fcntl.h>
#include <linux/futex.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace Bench {

inline constexpr uint32_t kDataReady = 1U << 0;
inline constexpr uint32_t kReadDone = 1U << 15;

struct FutexSignals {
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

    void take(uint32_t bit) { word.fetch_and(~bit, std::memory_order_acquire); }

    std::atomic<uint32_t> word;
};

/// Two eventfds with the same numbers in both processes. Each signal takes a system call.
struct EventSignals {
    void open() {
        // Numbers that are free in the other process, which inherits them.
        constexpr int kFree = 100;
        for (int* const fd : {&dataReady, &readDone}) {
            const int made = eventfd(0, 0);
            *fd = fcntl(made, F_DUPFD, kFree);
            close(made);
        }
    }
    void shut() const {
        close(dataReady);
        close(readDone);
    }

    void signal(uint32_t bit) const {
        constexpr uint64_t kOne = 1;
        static_cast<void>(::write(fdOf(bit), &kOne, sizeof(kOne)) == sizeof(kOne));
    }
    void await(uint32_t bit) const {
        uint64_t count = 0;
        static_cast<void>(::read(fdOf(bit), &count, sizeof(count)) == sizeof(count));
    }
    /// Does not wait.
    void take(uint32_t bit) const {
        pollfd signalled{fdOf(bit), POLLIN, 0};
        if (poll(&signalled, 1, 0) > 0) {
            await(bit);
        }
    }

    int fdOf(uint32_t bit) const { return bit == kDataReady ? dataReady : readDone; }

    int dataReady;
    int readDone;
};

/// Zero-initialised memory is a valid, empty ring.
template <size_t recordSize, typename Signals = FutexSignals>
struct BareRing {
    static constexpr size_t kCapacity = 32;

    struct Record {
        int64_t timestamp;
        std::byte rest[recordSize - sizeof(int64_t)];
    };

    /// Requires room for a record.
    void write(const Record& record) {
        const uint64_t position = written.load(std::memory_order_relaxed);
        records[position % kCapacity] = record;
        written.store(position + 1, std::memory_order_release);
        signals.signal(kDataReady);
    }

    /// Waits for records and hands all of them to `use`, in place. @return how many there were
    template <typename Use>
    size_t read(Use use) {
        signals.await(kDataReady);
        const uint64_t begin = done.load(std::memory_order_relaxed);
        const uint64_t end = written.load(std::memory_order_acquire);
        for (uint64_t i = begin; i < end; ++i) {
            use(records[i % kCapacity]);
        }
        done.store(end, std::memory_order_release);
        signals.signal(kReadDone);
        return end - begin;
    }

    void awaitRoom() {
        while (written.load(std::memory_order_relaxed) - done.load(std::memory_order_acquire) ==
               kCapacity) {
            awaitReadDone();
        }
    }
    void awaitReadDone() { signals.await(kReadDone); }
    void takeReadDone() { signals.take(kReadDone); }

    alignas(64) std::atomic<uint64_t> written;
    alignas(64) std::atomic<uint64_t> done;
    alignas(64) Signals signals;
    alignas(64) Record records[kCapacity];
};

/// In memory that all processes of a run share.
struct BareRings {
    BareRing<64> samples;
    BareRing<64, EventSignals> eventSamples;
    BareRing<744> frameSets;
    BareRing<744> recycledFrameSets;
};

}  // namespace Bench
