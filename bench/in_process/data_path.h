// A path of data through the library inside one process, which is timed and counted.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "report.h"

namespace Bench {

/// Sends records through a path `times` times. @return the address at which the client saw the last
/// ones
using Passes = std::function<const void*(size_t times)>;

struct DataPath {
    enum class Figure {
        /// Of a pass.
        kTime,
        /// Of the bytes that the passes move.
        kRate,
        /// Not timed.
        kCountsAlone,
    };

    std::string name;
    /// The name of the path that this one is compared with; empty for one that is not compared.
    std::string baseline;
    std::optional<Goal> goal;
    /// Of the records of one pass.
    size_t bytes;
    /// Sets the path up.
    std::function<Passes()> make;
    Figure figure = Figure::kTime;
    /// The most that a pass may make.
    unsigned allocations = 0;
};

// Each of these has a file of its own.
std::vector<DataPath> directRecordPaths();
std::vector<DataPath> convertedRecordPaths();
std::vector<DataPath> compositeWaitPaths();
std::vector<DataPath> everyStreamPaths();
std::vector<DataPath> writtenRecordPaths();

/// The `make` of a path whose setup, made from the arguments, does one pass with each call of
/// `const void* pass()`.
template <typename Setup, typename... Arguments>
std::function<Passes()> passesOf(Arguments... arguments) {
    return [=]() -> Passes {
        return [setup = std::make_shared<Setup>(arguments...)](size_t times) -> const void* {
            const void* seen = nullptr;
            for (size_t i = 0; i < times; ++i) {
                seen = setup->pass();
            }
            return seen;
        };
    };
}

/// Reads every byte, as a client that uses its records would at least.
template <typename Record>
void touch(const Record* records, size_t count) {
    constexpr size_t kWord = sizeof(uint64_t);
    constexpr size_t kRest = sizeof(Record) % kWord;
    uint64_t sum = 0;
    for (size_t i = 0; i < count; ++i) {
        const auto* const bytes = reinterpret_cast<const std::byte*>(records + i);
        uint64_t word = 0;
        if constexpr (kRest != 0) {
            std::memcpy(&word, bytes + sizeof(Record) - kRest, kRest);
            sum += word;
        }
        for (size_t k = 0; k + kWord <= sizeof(Record); k += kWord) {
            std::memcpy(&word, bytes + k, kWord);
            sum += word;
        }
    }
    benchmark::DoNotOptimize(sum);
}

}  // namespace Bench
