#include "in_process/counts.h"

#include <fmt/format.h>
#include <fmt/ostream.h>
#include <valgrind/callgrind.h>

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "support/allocation_count.h"

namespace Bench {
namespace {

constexpr size_t kPasses = 1000;
/// Of instructions: updates of the compiler and of the C library move them a little.
constexpr double kMargin = 0.03;

[[noreturn]] void fail(const std::string& problem) {
    fmt::print(stderr, "error: {}\n", problem);
    std::exit(1);
}

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
        fail("no temporary directory");
    }
    const std::string program = std::filesystem::read_symlink("/proc/self/exe");
    const bool isDone =
        std::system(fmt::format("valgrind -q --tool=callgrind --callgrind-out-file={}/out {} "
                                "--under-callgrind",
                                directory, program)
                        .c_str()) == 0;
    auto instructions = instructionsIn(directory);
    std::filesystem::remove_all(directory);
    if (!isDone) {
        fail("cannot run under valgrind, which counts the instructions");
    }
    return instructions;
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

bool isNear(double count, double expected) {
    return std::abs(count - expected) <= expected * kMargin + 1;
}

std::string textOf(const Counts& counts) {
    return fmt::format("{:.0f} instructions, {:g} allocations, {} bytes copied",
                       counts.instructions, counts.allocations, counts.bytesCopied);
}

CountsByPath read(const std::string& file) {
    CountsByPath expected;
    std::ifstream stream{file};
    for (std::string line; std::getline(stream, line);) {
        Counts counts{};
        int begin = 0;
        if (std::sscanf(line.c_str(), "%lf %lf %zu %n", &counts.instructions, &counts.allocations,
                        &counts.bytesCopied, &begin) == 3) {
            expected[line.substr(static_cast<size_t>(begin))] = counts;
        }
    }
    return expected;
}

}  // namespace

void runUnderCallgrind(const std::vector<DataPath>& paths) {
    // Aligns the stack below to a page: the C library's copy functions depend on the address, which
    // would otherwise depend on the size of the environment.
    alignas(4096) [[maybe_unused]] volatile std::byte begin{};
    for (const DataPath& path : paths) {
        const Passes run = path.make();
        run(kPasses);
        CALLGRIND_ZERO_STATS;
        run(kPasses);
        CALLGRIND_DUMP_STATS_AT(path.name.c_str());
    }
}

CountsByPath count(const std::vector<DataPath>& paths) {
    const std::map<std::string, double> instructions = countInstructions();
    CountsByPath counts;
    for (const DataPath& path : paths) {
        const Passes run = path.make();
        run(kPasses);
        const size_t before = TestSupport::allocationCount();
        const void* const seen = run(kPasses);
        const size_t allocations = TestSupport::allocationCount() - before;
        if (seen == nullptr) {
            fail("nothing came through: " + path.name);
        }
        counts[path.name] = {instructions.at(path.name), static_cast<double>(allocations) / kPasses,
                             isShared(seen) ? 0 : path.bytes};
    }
    return counts;
}

void write(const CountsByPath& counts, const std::string& file) {
    std::ofstream stream{file};
    fmt::print(stream,
               "# What one pass over each data path costs. Written by scripts/run-benchmarks "
               "--expect;\n# --check fails where a count is another, instructions by more than "
               "{:.0f} %.\n#\n# instructions, allocations, bytes copied, path\n",
               kMargin * 100);
    for (const auto& [path, own] : counts) {
        fmt::print(stream, "{:.0f} {:g} {} {}\n", own.instructions, own.allocations,
                   own.bytesCopied, path);
    }
    if (!stream.flush()) {
        fail("cannot write " + file);
    }
}

bool areAsExpected(const CountsByPath& counts, const std::string& file) {
    CountsByPath missing = read(file);
    bool isAsExpected = true;
    for (const auto& [path, own] : counts) {
        const auto expected = missing.extract(path);
        const bool isSame = !expected.empty() &&
                            isNear(own.instructions, expected.mapped().instructions) &&
                            own.allocations == expected.mapped().allocations &&
                            own.bytesCopied == expected.mapped().bytesCopied;
        if (!isSame) {
            fmt::print("{}: {}; expected: {}\n", path, textOf(own),
                       expected.empty() ? "no such path" : textOf(expected.mapped()));
            isAsExpected = false;
        }
    }
    for (const auto& [path, expected] : missing) {
        fmt::print("{}: is gone; expected: {}\n", path, textOf(expected));
        isAsExpected = false;
    }
    return isAsExpected;
}

}  // namespace Bench
