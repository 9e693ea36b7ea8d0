// Measures the library between processes.
//
// usage: bench-processes [--quick] [NAME ...]     (default: all)
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "between_processes/benchmarks.h"
#include "between_processes/imu_service.h"

namespace Bench {
namespace {

constexpr struct {
    const char* name;
    void (*measure)(const Settings& settings);
} kBenchmarks[] = {
    {"hand-over", measureHandOver},
    {"control-call", measureControlCalls},
    {"load", measureLoad},
    {"size-and-start", measureSizeAndStart},
};

/// What this program does as another process of a benchmark.
const std::map<std::string, int (*)()> kRoles{
    {"imu-service", serveImu},
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
