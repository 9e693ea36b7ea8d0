// See counts.h.
#include "in_process/counts.h"

#include <fmt/format.h>
#include <fmt/ostream.h>
#include <valgrind/callgrind.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "support/allocation_count.h"

namespace Bench {
namespace {

constexpr size_t kPasses = 1000;
/// Of instructions: updates of the compiler and of the C library move them a little.
constexpr double kMargin = 1.03;

/// From the files that callgrind wrote, one for each path, which has its name.
std::map<std::string, double> instructionsIn(const std::filesystem::path& directory) {
    const std::string trigger = "desc: Trigger: Client Request: ";
    const std::string totals = "totals: ";
    std::map<std::string, double> instructions;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        std::ifstream file{entry.path()};
        std::string path;
        for (std::string line; std::getline(file, line);) {
            if (line.rfind(trigger, 0) == 0) {
                path = line.substr(trigger.size());
            } else if (line.rfind(totals, 0) == 0 && !path.empty()) {
                instructions[path] = std::stod(line.substr(totals.size())) / kPasses;
            }
        }
    }
    return instructions;
}

std::map<std::string, double> countInstructions() {
    std::string directory = std::filesystem::temp_directory_path() / "moriak-bench-XXXXXX";
    if (mkdtemp(directory.data()) == nullptr) {
        return {};
    }
    const std::string program = std::filesystem::read_symlink("/proc/self/exe");
    const bool isDone =
        std::system(fmt::format("valgrind -q --tool=callgrind --callgrind-out-file={}/out {} "
                                "--under-callgrind",
                                directory, program)
                        .c_str()) == 0;
    auto instructions = instructionsIn(directory);
    std::filesystem::remove_all(directory);
    return isDone ? instructions : std::map<std::string, double>{};
}

/// Whether an address lies in memory that the service shares.
bool isShared(const void* address) {
    const auto wanted = reinterpret_cast<uintptr_t>(address);
    std::ifstream maps{"/proc/self/maps"};
    for (std::string line; std::getline(maps, line);) {
        uintptr_t begin = 0;
        uintptr_t end = 0;
        std::sscanf(line.c_str(), "%lx-%lx", &begin, &end);
        if (begin <= wanted && wanted < end) {
            return line.find("/memfd:") != std::string::npos;
        }
    }
    return false;
}

}  // namespace

void runUnderCallgrind(const std::vector<DataPath>& paths) {
    for (const DataPath& path : paths) {
        const Passes run = path.make();
        run(kPasses);
        CALLGRIND_ZERO_STATS;
        run(kPasses);
        CALLGRIND_DUMP_STATS_AT(path.name.c_str());
    }
}

std::optional<CountsByPath> count(const std::vector<DataPath>& paths) {
    if (std::system("command -v valgrind >/dev/null") != 0) {
        fmt::print(stderr, "skipped: valgrind is not installed, so nothing can be counted\n");
        return std::nullopt;
    }
    const std::map<std::string, double> instructions = countInstructions();
    CountsByPath counts;
    for (const DataPath& path : paths) {
        const Passes run = path.make();
        run(kPasses);
        const size_t before = TestSupport::allocationCount();
        const void* const seen = run(kPasses);
        const size_t allocations = TestSupport::allocationCount() - before;
        counts[path.name] = {instructions.at(path.name), static_cast<double>(allocations) / kPasses,
                             isShared(seen) ? 0 : path.bytes};
    }
    return counts;
}

void write(const CountsByPath& counts, const std::string& file) {
    std::ofstream stream{file};
    for (const auto& [path, own] : counts) {
        fmt::print(stream, "{:.0f} {:g} {} {}\n", own.instructions, own.allocations,
                   own.bytesCopied, path);
    }
}

bool areAsExpected(const CountsByPath& counts, const std::string& file) {
    CountsByPath expected;
    std::ifstream stream{file};
    Counts most{};
    for (std::string path; stream >> most.instructions >> most.allocations >> most.bytesCopied;) {
        std::getline(stream >> std::ws, path);
        expected[path] = most;
    }
    bool isAsExpected = true;
    for (const auto& [path, own] : counts) {
        const Counts& limit = expected[path];
        if (own.instructions > limit.instructions * kMargin + 1 ||
            own.allocations > limit.allocations || own.bytesCopied > limit.bytesCopied) {
            fmt::print(
                "{}: {:.0f} instructions, {} allocations, {} bytes copied; expected are {}, "
                "{}, {}\n",
                path, own.instructions, own.allocations, own.bytesCopied, limit.instructions,
                limit.allocations, limit.bytesCopied);
            isAsExpected = false;
        }
    }
    return isAsExpected;
}

}  // namespace Bench
