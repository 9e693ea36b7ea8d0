// What the commands have in common.
#include "commands.h"

#include <fmt/format.h>

#include <optional>
#include <string>
#include <vector>

#include "display.h"
#include "failure.h"
#include "names.h"
#include "output.h"
#include "table.h"

CLI::Validator secondsFrom(double least) {
    return {[least](std::string& text) {
                double seconds = 0;
                // Written so that NaN is refused.
                const bool isValid =
                    CLI::detail::lexical_cast(text, seconds) && seconds >= least && seconds <= 1e8;
                return isValid ? std::string()
                               : fmt::format("{} is not a number of seconds from {}", text, least);
            },
            fmt::format(">= {}", least)};
}

/// Validates a stream name and completes a shortened one.
static CLI::Validator isStreamName() {
    return {[](std::string& name) {
                try {
                    const std::vector<std::string> names = streamNames();
                    name = names[chooseName(names, name, "stream")];
                    return std::string();
                } catch (const Failure& failure) {
                    return std::string(failure.what());
                }
            },
            ""};
}

void addDurationOption(CLI::App& command, std::optional<double>& seconds) {
    command.add_option("--duration", seconds, "End after so many seconds; otherwise at Ctrl-C")
        ->type_name("SECONDS")
        ->check(secondsFrom(0.01));
}

void addFilterOptions(CLI::App& command, SessionOptions& options) {
    command
        .add_option("--controller", options.controller,
                    "Only this hand controller, by its address or name")
        ->type_name("CONTROLLER");
    command.add_option("--camera", options.camera, "Only this camera, by its number or name")
        ->type_name("CAMERA");
}

void addStreamArgument(CLI::App& command, SessionOptions& options) {
    command
        .add_option("stream", options.streams,
                    fmt::format("One of {}", fmt::join(streamNames(), ", ")))
        ->type_name("STREAM")
        ->required()
        ->expected(1)
        ->transform(isStreamName());
}

void addSessionOptions(CLI::App& command, SessionOptions& options) {
    addDurationOption(command, options.durationSeconds);
    command
        .add_option(
            "--streams", options.streams,
            fmt::format("Which streams, separated by commas; otherwise those that the other "
                        "options are\nabout, or imu,mag,iad. There are: {}",
                        fmt::join(streamNames(), ", ")))
        ->type_name("STREAM,...")
        ->delimiter(',')
        ->transform(isStreamName());
    addFilterOptions(command, options);
    command
        .add_option("--rate", options.imu.sampleRate,
                    "Samples a second of the IMU, for all of its clients")
        ->type_name("HZ")
        ->check(CLI::Range(1U, 1'000'000U));
    command
        .add_option("--batch", options.imu.batchSize,
                    "Samples that the IMU gathers before it wakes a client, for all of them")
        ->type_name("SAMPLES")
        ->check(CLI::Range(1U, 65'536U));
}

void conclude(Session& session, const Shutdown& shutdown) {
    session.finish();
    const Table summary = session.summary();
    if (Output::isJson()) {
        Output::print("", {{"duration_s", session.seconds()}, {"summary", summary.rows()}});
    } else {
        Display::append({fmt::format("summary of {:.1f} s", session.seconds())});
        Display::append(summary.lines());
    }
    shutdown.requireService();
}
