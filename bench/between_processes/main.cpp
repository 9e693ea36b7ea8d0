// Measures the library between processes.
//
// usage: bench-processes [--quick] [NAME ...]     (default: all)
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "between_processes/benchmarks.h"
#include "between_processes/load_client.h"
#include "between_processes/service.h"

namespace Bench {
namespace {

constexpr struct {
    const char* name;
    void (*measure)(const Settings& settings);
} kBenchmarks[] = {
    {"hand-over", measureHandOver},
    {"calls", measureCalls},
    {"load", measureLoad},
    {"size-and-start", measureSizeAndStart},
};

/// What this program does as another process of a benchmark.
const std::map<std::string, int (*)()> kRoles{
    {"service", serve},
    {"load-client", runLoadClient},
};

int run(std::vector<std::string> names) {
    Settings settings;
    const auto quick = std::find(names.begin(), names.end(), "--quick");
    if (quick != names.end()) {
        settings.isQuick = true;
        names.erase(quick);
    }
    std::string directory = std::filesystem::temp_directory_path() / "moriak-bench-XXXXXX";
    if (mkdtemp(directory.data()) == nullptr) {
        perror("mkdtemp");
        return 1;
    }
    setenv("MORIAK_HIDL_RUNTIME_DIR", directory.c_str(), 1);
    for (const auto& [name, measure] : kBenchmarks) {
        if (names.empty() || std::find(names.begin(), names.end(), name) != names.end()) {
            fmt::print(stderr, "measuring {}\n", name);
            measure(settings);
        }
    }
    std::filesystem::remove_all(directory);
    return 0;
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() == 2 && arguments[0] == "--role") {
        return Bench::kRoles.at(arguments[1])();
    }
    return Bench::run(arguments);
}
