// A way of data through the library inside one process: to be timed, and to be counted.
#pragma once

#include <benchmark/benchmark.h>

#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "report.h"

namespace Bench {

/// Sends a path's records through it so many times. @return where the client saw the last ones
using Passes = std::function<const void*(size_t times)>;

struct DataPath {
    std::string name;
    /// The name of the path that this one is compared with; empty for one that others are.
    std::string baseline;
    std::optional<Goal> goal;
    /// Of the records of one pass.
    size_t bytes;
    /// Sets the path up.
    std::function<Passes()> make;
};

// Each area has a file of its own.
std::vector<DataPath> directRecordPaths();
std::vector<DataPath> convertedRecordPaths();
std::vector<DataPath> compositeWaitPaths();

/// Reads every byte, as a client that uses its records would at least.
template <typename Record>
void touch(const Record* records, size_t count) {
    constexpr size_t kWords = sizeof(Record) / sizeof(uint64_t);
    static_assert(sizeof(Record) % sizeof(uint64_t) == 0);
    uint64_t sum = 0;
    for (size_t i = 0; i < count; ++i) {
        uint64_t words[kWords];
        std::memcpy(words, static_cast<const void*>(records + i), sizeof(words));
        for (const uint64_t word : words) {
            sum += word;
        }
    }
    benchmark::DoNotOptimize(sum);
}

}  // namespace Bench
