// Times and counts the data paths inside one process.
//
// usage: bench-data-paths [--check FILE | --expect FILE]
//   without options   times the paths, then counts; prints both as tables
//   --check FILE      counts; fails if a path costs other than the file expects
//   --expect FILE     counts; writes the file
#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <map>
#include <string>
#include <vector>

#include "in_process/counts.h"
#include "in_process/data_path.h"

namespace Bench {
namespace {

std::vector<DataPath> allPaths() {
    std::vector<DataPath> all;
    for (const auto& paths : {directRecordPaths(), convertedRecordPaths(), compositeWaitPaths(),
                              everyStreamPaths(), writtenRecordPaths()}) {
        all.insert(all.end(), paths.begin(), paths.end());
    }
    return all;
}

/// Keeps the time of each repetition, in ns of the processor.
struct Collector : benchmark::BenchmarkReporter {
    bool ReportContext(const Context& /*context*/) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                times[run.run_name.function_name].push_back(run.GetAdjustedCPUTime());
            }
        }
    }
    std::map<std::string, std::vector<double>> times;
};

void time(const std::vector<DataPath>& paths) {
    for (const DataPath& path : paths) {
        if (path.figure == DataPath::Figure::kCountsAlone) {
            continue;
        }
        constexpr size_t kBatch = 1000;
        const auto repeat = [&path](benchmark::State& state) {
            const Passes run = path.make();
            run(kBatch);
            while (state.KeepRunningBatch(kBatch)) {
                run(kBatch);
            }
        };
        benchmark::RegisterBenchmark(path.name.c_str(), repeat)->Repetitions(15);
    }
    // Interleaved, so that noise meets a path and its baseline alike.
    std::string arguments[] = {"", "--benchmark_enable_random_interleaving=true",
                               "--benchmark_min_time=0.02"};
    char* argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data()};
    int argc = 3;
    benchmark::Initialize(&argc, argv);
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);

    beginTable("Data paths inside the client, for each pass");
    for (const DataPath& path : paths) {
        if (!path.baseline.empty()) {
            const bool isRate = path.figure == DataPath::Figure::kRate;
            const auto figureOf = [&](const std::string& name) {
                const double time = median(collector.times.at(name));
                return isRate ? static_cast<double>(path.bytes) / time : time;
            };
            addRow(path.name, isRate ? "GB/s" : "ns", figureOf(path.name), figureOf(path.baseline),
                   path.goal);
        }
    }
}

void print(const std::vector<DataPath>& paths, const CountsByPath& counts) {
    beginTable("Instructions, for each pass");
    for (const DataPath& path : paths) {
        if (!path.baseline.empty()) {
            addRow(path.name, "", counts.at(path.name).instructions,
                   counts.at(path.baseline).instructions);
        }
    }
    fmt::print(
        "\n### Allocations and copies, for each pass\n\n| | allocations | goal: at most | bytes "
        "copied | of | instructions |\n|---|---:|---|---:|---:|---:|\n");
    for (const DataPath& path : paths) {
        if (path.figure == DataPath::Figure::kCountsAlone) {
            const Counts& own = counts.at(path.name);
            fmt::print("| {} | {:g} | {}: {} | {} | {} | {:.0f} |\n", path.name, own.allocations,
                       path.allocations, own.allocations <= path.allocations ? "met" : "**missed**",
                       own.bytesCopied, path.bytes, own.instructions);
        }
    }
}

int run(const std::string& option, const std::string& file) {
    const std::vector<DataPath> paths = allPaths();
    if (option == "--under-callgrind") {
        runUnderCallgrind(paths);
        return 0;
    }
    if (option.empty()) {
        fmt::print(stderr, "timing the data paths\n");
        time(paths);
    }
    fmt::print(stderr, "counting on the data paths\n");
    const CountsByPath counts = count(paths);
    if (option == "--check") {
        return areAsExpected(counts, file) ? 0 : 1;
    }
    if (option == "--expect") {
        write(counts, file);
    } else {
        print(paths, counts);
    }
    return 0;
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    return Bench::run(argc > 1 ? argv[1] : "", argc > 2 ? argv[2] : "");
}
