// Costs of data paths that do not depend on the clock.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "in_process/data_path.h"

namespace Bench {

/// Of one pass.
struct Counts {
    double instructions;
    double allocations;
    /// Of the records, between the queue and the client.
    size_t bytesCopied;
};

/// By the path's name.
using CountsByPath = std::map<std::string, Counts>;

/// Runs this program under callgrind. Ends it, with a message, if that does not work.
CountsByPath count(const std::vector<DataPath>& paths);

/// What the program does under callgrind.
void runUnderCallgrind(const std::vector<DataPath>& paths);

/// As lines of a file that can be read again.
void write(const CountsByPath& counts, const std::string& file);

/// Prints the paths whose costs differ from the file, and those that are missing on either side.
/// @return whether there is none
bool areAsExpected(const CountsByPath& counts, const std::string& file);

}  // namespace Bench
