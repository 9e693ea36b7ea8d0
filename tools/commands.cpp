// What the commands have in common.
#include "commands.h"

#include "display.h"
#include "failure.h"

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

static std::vector<std::string> streamNames() {
    std::vector<std::string> names;
    for (const StreamKind& kind : streamKinds()) {
        names.push_back(kind.name);
    }
    return names;
}

void addDurationOption(CLI::App& command, std::optional<double>& seconds) {
    command.add_option("--duration", seconds, "End after so many seconds; otherwise at Ctrl-C")
        ->type_name("SECONDS")
        ->check(secondsFrom(0.01));
}

void addSessionOptions(CLI::App& command, SessionOptions& options) {
    addDurationOption(command, options.durationSeconds);
    command.add_option("--streams", options.streams, "Which streams, separated by commas")
        ->type_name("STREAM,...")
        ->delimiter(',')
        ->check(CLI::IsMember(streamNames()))
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

void conclude(Session& session, const Shutdown& shutdown) {
    session.finish();
    Display::append(session.summary());
    shutdown.requireService();
}
