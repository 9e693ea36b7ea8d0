// Times and counts the data paths inside one process.
//
// usage: bench-data-paths [--check FILE | --expect FILE]
//   without options   times the paths, then counts; prints both as tables
//   --check FILE      counts; fails if a path costs more than the file expects (77: no valgrind)
//   --expect FILE     counts; writes the file
#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <map>
#include <string>

#include "in_process/counts.h"
#include "in_process/data_path.h"

namespace Bench {
namespace {

constexpr int kSkipped = 77;

std::vector<DataPath> allPaths() {
    std::vector<DataPath> all;
    for (const auto& paths : {directRecordPaths(), convertedRecordPaths(), compositeWaitPaths()}) {
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
            addRow(path.name, "ns", median(collector.times.at(path.name)),
                   median(collector.times.at(path.baseline)), path.goal);
        }
    }
}

void print(const std::vector<DataPath>& paths, const CountsByPath& counts) {
    fmt::print(
        "\n### Counted, for each pass\n\n| | instructions | baseline | ratio | allocations | "
        "bytes copied |\n|---|---:|---:|---:|---:|---:|\n");
    for (const DataPath& path : paths) {
        if (!path.baseline.empty()) {
            const Counts& own = counts.at(path.name);
            const Counts& baseline = counts.at(path.baseline);
            fmt::print("| {} | {:.0f} | {:.0f} | {:.2f} | {:g} | {} |\n", path.name,
                       own.instructions, baseline.instructions,
                       own.instructions / baseline.instructions, own.allocations, own.bytesCopied);
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
        time(paths);
    }
    const std::optional<CountsByPath> counts = count(paths);
    if (!counts) {
        return kSkipped;
    }
    if (option == "--check") {
        return areAsExpected(*counts, file) ? 0 : 1;
    }
    if (option == "--expect") {
        write(*counts, file);
    } else {
        print(paths, *counts);
    }
    return 0;
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    return Bench::run(argc > 1 ? argv[1] : "", argc > 2 ? argv[2] : "");
}
