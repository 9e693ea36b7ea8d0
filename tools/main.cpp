// sensorctl: shows and records the sensors of a device.
#include <fmt/format.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "commands.h"
#include "failure.h"

namespace {

constexpr char kFooter[] =
    "Exit codes: 0 done, also after Ctrl-C; 1 failed; 2 wrong usage; 3 no service is running; "
    "4 the service died.";

/// A number of seconds from `least` to a few years.
CLI::Validator secondsFrom(double least) {
    return {[least](std::string& text) {
                double seconds = 0;
                // Not a number is in no range.
                const bool isValid =
                    CLI::detail::lexical_cast(text, seconds) && seconds >= least && seconds <= 1e8;
                return isValid ? std::string()
                               : fmt::format("{} is not a number of seconds from {}", text, least);
            },
            fmt::format(">= {}", least)};
}

void addSessionOptions(CLI::App& command, SessionOptions& options) {
    command
        .add_option("--duration", options.durationSeconds,
                    "End after so many seconds; otherwise at Ctrl-C")
        ->type_name("SECONDS")
        ->check(secondsFrom(0.01));
    command.add_option("--streams", options.streams, "Which streams, separated by commas")
        ->type_name("STREAM,...")
        ->delimiter(',')
        ->check(CLI::IsMember({"imu", "mag", "iad"}))
        ->capture_default_str();
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

void run(const CLI::App& listCommand, const CLI::App& monitorCommand, const SessionOptions& options,
         double intervalSeconds, const std::string& directory) {
    if (listCommand.parsed()) {
        list();
    } else if (monitorCommand.parsed()) {
        monitor(options, intervalSeconds);
    } else {
        record(options, directory);
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        throw Failure(ExitCode::FAILED,
                      "cannot write standard output: " + std::generic_category().message(errno));
    }
}

ExitCode runCommandLine(int argc, char** argv) {
    CLI::App app("Shows and records the sensors of a device.", "sensorctl");
    app.footer(kFooter);
    app.require_subcommand(1);

    SessionOptions options;
    double intervalSeconds = 1;
    std::string directory;
    const CLI::App& listCommand =
        *app.add_subcommand("list", "Print which services run, and the motion sensors they offer");
    CLI::App& monitorCommand = *app.add_subcommand(
        "monitor", "Show rate, batch size, latency, drops and values of the streams as they come");
    addSessionOptions(monitorCommand, options);
    monitorCommand.add_option("--interval", intervalSeconds, "Seconds from one table to the next")
        ->type_name("SECONDS")
        ->check(secondsFrom(0.1))
        ->capture_default_str();
    CLI::App& recordCommand = *app.add_subcommand(
        "record", "Write the streams to CSV files (imu.csv, mag.csv, iad.csv), all fields");
    addSessionOptions(recordCommand, options);
    recordCommand
        .add_option("--out", directory,
                    "Directory of the files, made if need be; files in it are replaced")
        ->type_name("DIR")
        ->required();

    try {
        app.parse(argc, argv);
        run(listCommand, monitorCommand, options, intervalSeconds, directory);
        return ExitCode::OK;
    } catch (const CLI::ParseError& error) {
        const bool isHelp = app.exit(error) == 0;
        return isHelp ? ExitCode::OK : ExitCode::USAGE;
    }
}

ExitCode report(const std::exception& error, ExitCode exitCode) {
    std::fprintf(stderr, "sensorctl: %s\n", error.what());
    return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
    ExitCode exitCode = ExitCode::OK;
    try {
        exitCode = runCommandLine(argc, argv);
    } catch (const Failure& failure) {
        exitCode = report(failure, failure.exitCode());
    } catch (const std::exception& error) {
        exitCode = report(error, ExitCode::FAILED);
    }
    return static_cast<int>(exitCode);
}
