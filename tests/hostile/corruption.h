// Random corruption of shared memory.
#pragma once

#include <fmq/EventFlag.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <thread>

#include "support/queue_counters.h"

namespace TestSupport {

/// Corrupts a queue and its event flag, over and over, until the process ends.
template <typename Record, typename Queue>
void corruptForever(const Queue& queue, android::hardware::EventFlag* flag) {
    const auto counters = std::make_shared<QueueCounters>(queue);
    std::thread([counters, flag] {
        std::mt19937_64 random{1};
        // Near each other and on the borders of records, or anywhere.
        const auto counter = [&random] {
            const uint64_t any = random();
            return any % 4 == 0 ? any : any % 256 * (any % 8 == 1 ? 1 : sizeof(Record));
        };
        while (true) {
            std::array<uint64_t, sizeof(Record) / 8> record;
            std::generate(record.begin(), record.end(), std::ref(random));
            std::memcpy(counters->template records<std::byte>(), record.data(), sizeof(record));
            counters->read() = counter();
            counters->written() = counter();
            flag->wake(static_cast<uint32_t>(random()));
            uint32_t state = 0;
            flag->wait(static_cast<uint32_t>(random()), &state, 1);
        }
    }).detach();
}

}  // namespace TestSupport
