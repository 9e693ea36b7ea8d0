// sensorctl monitor
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "display.h"
#include "expectation.h"
#include "failure.h"
#include "output.h"
#include "session.h"
#include "table.h"
#include "waiter.h"

namespace {

struct MonitorOptions {
    SessionOptions session;
    double intervalSeconds = 1;
    std::vector<std::string> expectations;
};

std::vector<Expectation> expectationsOf(const MonitorOptions& options) {
    std::vector<Expectation> all;
    for (const std::string& text : options.expectations) {
        const auto some = parseExpectations(text);
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

/// The session's options. If no streams are named, those of the expectations are used.
SessionOptions sessionOptions(const MonitorOptions& options,
                              const std::vector<Expectation>& expectations) {
    SessionOptions session = options.session;
    auto& streams = session.streams;
    const bool areNamed = !streams.empty();
    for (const Expectation& expectation : expectations) {
        if (std::find(streams.begin(), streams.end(), expectation.stream) != streams.end()) {
            continue;
        }
        if (areNamed) {
            throw Failure(ExitCode::USAGE,
                          fmt::format("--expect: {} is not among --streams", expectation.stream));
        }
        streams.push_back(expectation.stream);
    }
    return session;
}

/// Throws Failure with the expectations that were not met.
void require(const std::vector<Verdict>& verdicts) {
    std::string failures;
    for (const Verdict& verdict : verdicts) {
        if (!verdict.isMet) {
            failures +=
                fmt::format("{}{}{}: {}, was {}", failures.empty() ? "" : "; ", verdict.stream,
                            verdict.controller.empty() ? "" : " " + verdict.controller,
                            verdict.expectation, verdict.actual);
        }
    }
    if (!failures.empty()) {
        throw Failure(ExitCode::NOT_AS_EXPECTED, "not as expected: " + failures);
    }
}

/// Shows a live table of the streams, then a summary.
void monitor(const MonitorOptions& options) {
    const auto expectations = expectationsOf(options);
    Shutdown shutdown(kShutdownGrace);
    Session session(sessionOptions(options, expectations), shutdown);
    Display display;
    const auto interval = durationOf(options.intervalSeconds);
    session.start();
    // An interval that the end cuts short is not shown, but counts in the summary.
    while (session.receiveUntil(std::chrono::steady_clock::now() + interval)) {
        const Table table = session.intervalTable();
        if (Output::isJson()) {
            Output::print("", {{"interval", table.rows()}});
        } else {
            display.update(table.lines());
        }
        session.restartIntervals();
    }
    conclude(session, shutdown);
    require(session.judge(expectations));
}

}  // namespace

void addMonitorCommand(CLI::App& app) {
    const auto options = std::make_shared<MonitorOptions>();
    CLI::App& command = *app.add_subcommand(
        "monitor",
        "Show rate, regularity, latency, drops and values of the streams as they come: intervals\n"
        "from record to record (shortest, longest, standard deviation), the longest gap without\n"
        "records, latency from a record's time to its callback");
    addSessionOptions(command, options->session);
    command
        .add_option("--interval", options->intervalSeconds, "Seconds from one table to the next")
        ->type_name("SECONDS")
        ->check(secondsFrom(0.1))
        ->capture_default_str();
    std::vector<std::string> names;
    for (const Quantity& quantity : quantities()) {
        names.emplace_back(quantity.name);
    }
    command
        .add_option(
            "--expect", options->expectations,
            fmt::format("What the whole run has to keep to, as in "
                        "'imu:rate>=990,drops=0,gap<5ms'; may be repeated.\n"
                        "Otherwise the exit code is {}. There are: {}",
                        static_cast<int>(ExitCode::NOT_AS_EXPECTED), fmt::join(names, ", ")))
        ->type_name("STREAM:LIMIT,...")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command.callback([options] { monitor(*options); });
}
