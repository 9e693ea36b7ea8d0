// What data paths cost in figures that do not depend on the clock.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "in_process/data_path.h"

namespace Bench {

/// Of one pass.
struct Counts {
    double instructions;
    double allocations;
    /// Of the records, between the queue and the client's function.
    size_t bytesCopied;
};

/// By the path's name.
using CountsByPath = std::map<std::string, Counts>;

/// Runs this program under callgrind. @return nothing, with a message, if there is no valgrind
std::optional<CountsByPath> count(const std::vector<DataPath>& paths);

/// What the program does under callgrind.
void runUnderCallgrind(const std::vector<DataPath>& paths);

/// As lines of a file that can be read again.
void write(const CountsByPath& counts, const std::string& file);

/// Says which paths cost more than the file expects. @return whether there is none
bool areAsExpected(const CountsByPath& counts, const std::string& file);

}  // namespace Bench
