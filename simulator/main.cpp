// The simulated sensor service's process, from its command line to its end.
#include <android/log.h>
#include <fmt/format.h>
#include <hidl/HidlTransportSupport.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "control.h"
#include "headset.h"
#include "options.h"

namespace {

using namespace Simulator;

/// SIGINT and SIGTERM. All threads block them; waitForEnd waits for them.
sigset_t endSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

/// Raises the soft limit: each client takes several descriptors, and the default is too low for
/// many clients.
void allowManyDescriptors() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

/// Announces that the service is ready. @return false, with a message, if --ready-fd cannot be
/// written
bool announce(const Options& options) {
    if (!options.isQuiet) {
        fmt::print("ready\n");
        std::fflush(stdout);
    }
    constexpr char kReady[] = "ready\n";
    constexpr ssize_t kLength = sizeof(kReady) - 1;
    if (options.readyDescriptor && write(*options.readyDescriptor, kReady, kLength) != kLength) {
        fmt::print(stderr, "error: cannot write to --ready-fd {}: {}\n", *options.readyDescriptor,
                   std::strerror(errno));
        return false;
    }
    return true;
}

bool failToWriteSummary(const std::string& file) {
    fmt::print(stderr, "error: cannot write --summary {}: {}\n", file, std::strerror(errno));
    return false;
}

/// Checks before the run, which may be long. Does not change the file's content.
/// @return false, with a message, if the file cannot be written
bool canWriteSummary(const std::string& file) {
    return file.empty() || std::ofstream(file, std::ios::app) || failToWriteSummary(file);
}

/// @return false, with a message, if the file cannot be written
bool report(const std::vector<std::string>& summary, const Options& options) {
    const std::string text = fmt::format("{}\n", fmt::join(summary, "\n"));
    if (!options.isQuiet) {
        fmt::print("{}", text);
    }
    return options.summaryFile.empty() || (std::ofstream(options.summaryFile) << text).flush() ||
           failToWriteSummary(options.summaryFile);
}

/// Waits for a signal to end; kills the process when --die-after is over.
void waitForEnd(const std::optional<double>& dieAfterSeconds) {
    using Clock = std::chrono::steady_clock;
    using std::chrono::duration_cast;
    const sigset_t signals = endSignals();
    if (!dieAfterSeconds) {
        while (sigwaitinfo(&signals, nullptr) < 0) {
        }
        return;
    }
    const Clock::time_point end =
        Clock::now() +
        duration_cast<Clock::duration>(std::chrono::duration<double>(*dieAfterSeconds));
    while (true) {
        const auto left = std::max(end - Clock::now(), Clock::duration::zero());
        const auto seconds = duration_cast<std::chrono::seconds>(left);
        const timespec timeout{seconds.count(), (left - seconds).count()};
        if (sigtimedwait(&signals, nullptr, &timeout) > 0) {
            return;
        }
        if (errno == EAGAIN) {
            die();
        }
    }
}

Headset makeHeadset(const Options& options, const std::shared_ptr<Faults>& faults) {
    const auto clock = std::make_shared<WorldClock>(options.speed);
    if (!options.replay.directory.empty()) {
        return Headset(openPlayback(options.replay, clock, faults));
    }
    return {faults,
            options.cameras,
            options.controllers,
            options.environment,
            clock,
            std::make_shared<World>(options.world)};
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc > 1 && std::strcmp(argv[1], "ctl") == 0) {
        return runControlClient({argv + 2, argv + argc});
    }
    const auto parsed = parseOptions(argc, argv, std::cout, std::cerr);
    if (const ExitCode* code = std::get_if<ExitCode>(&parsed)) {
        return *code;
    }
    const Options& options = std::get<Options>(parsed);
    if (options.isQuiet) {
        __android_log_set_logger([](const __android_log_message* line) {
            if (line->priority >= ANDROID_LOG_ERROR) {
                __android_log_stderr_logger(line);
            }
        });
    }
    if (!canWriteSummary(options.summaryFile)) {
        return kFailure;
    }
    // The reader of --ready-fd or of standard output may have ended.
    std::signal(SIGPIPE, SIG_IGN);
    const sigset_t signals = endSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    allowManyDescriptors();

    android::hardware::configureRpcThreadpool(1, false);
    std::this_thread::sleep_for(std::chrono::duration<double>(options.returnAfter));
    const auto faults = std::make_shared<Faults>(options.faults);
    Headset headset = makeHeadset(options, faults);
    std::string problem;
    for (const Fault& fault : options.initialFaults) {
        if (faults->set(fault, &problem) == 0) {
            fmt::print(stderr, "error: {}: {}\n", toText(fault), problem);
            return kWrongUsage;
        }
    }
    problem = headset.registerServices();
    Control control{faults};
    problem = problem.empty() ? control.listen() : problem;
    if (!problem.empty()) {
        fmt::print(stderr, "error: {}\n", problem);
        return kFailure;
    }
    if (!announce(options)) {
        return kFailure;
    }
    control.start(options.script, std::chrono::duration<double>(options.scriptFrom));
    waitForEnd(options.dieAfterSeconds);
    faults->stop();
    headset.stop();
    std::vector<std::string> summary = headset.summary();
    const std::vector<std::string> account = faults->account();
    summary.insert(summary.end(), account.begin(), account.end());
    return report(summary, options) ? kSuccess : kFailure;
} catch (const std::exception& failure) {
    std::fprintf(stderr, "error: %s\n", failure.what());
    return kFailure;
}
