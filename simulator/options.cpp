// See options.h.
#include "options.h"

#include <fcntl.h>
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "calls.h"
#include "camera/camera_options.h"
#include "controller/controller_options.h"
#include "environment/environment_options.h"
#include "replay/replay_arguments.h"
#include "world/world_options.h"

namespace Simulator {
namespace {

constexpr std::array<Hal::Result, 3> kErrors{Hal::Result::FAILURE, Hal::Result::BAD_STATE,
                                             Hal::Result::IGNORED};

std::string namesOfErrors() {
    std::string names;
    for (const Hal::Result error : kErrors) {
        names += (names.empty() ? "" : ", ") + toString(error);
    }
    return names;
}

/// Adds "METHOD=RESULT" to the settings; throws if METHOD is none of the calls.
void addFault(const std::string& option, const std::string& value, CallKind kind,
              FaultSettings* settings) {
    const std::vector<std::string_view> calls = callsOf(kind);
    const size_t equals = value.find('=');
    const std::string call = value.substr(0, equals);
    const std::string result = equals == std::string::npos ? "" : value.substr(equals + 1);
    if (std::find(calls.begin(), calls.end(), call) == calls.end()) {
        throw CLI::ValidationError(option,
                                   fmt::format("'{}' is none of {}", call, fmt::join(calls, ", ")));
    }
    const auto error = std::find_if(kErrors.begin(), kErrors.end(), [&](Hal::Result candidate) {
        return toString(candidate) == result;
    });
    if (error == kErrors.end()) {
        throw CLI::ValidationError(
            option, fmt::format("'{}' of '{}' is none of {}", result, value, namesOfErrors()));
    }
    settings->results[call] = *error;
}

}  // namespace

std::variant<Options, ExitCode> parseOptions(int argc, const char* const* argv, std::ostream& out,
                                             std::ostream& err) {
    Options options;
    std::vector<std::string> refusals;
    std::vector<std::string> getterErrors;
    CLI::App app{
        "Stands in for the vendor's sensor service: registers the sensors of a headset and "
        "streams\n"
        "what they would measure. Ends on SIGINT or SIGTERM with a summary.",
        "moriak-sensor-simulator"};
    app.add_flag("--quiet", options.isQuiet, "Print errors only");
    app.add_option("--ready-fd", options.readyDescriptor,
                   "Descriptor to write \"ready\" to once the service can be found")
        ->type_name("FD");
    app.add_option("--summary", options.summaryFile,
                   "File to write the summary to as well, even with --quiet")
        ->type_name("FILE");
    app.add_option("--speed", options.speed,
                   "How many times faster than real time the world goes on; 0: as fast as the\n"
                   "slowest client reads, without a drop, from the same instant in every run")
        ->type_name("X")
        ->check(CLI::Range(0.0, 1000.0));
    // One value each, or an option that follows without its own name would be swallowed.
    app.add_option("--refuse", refusals,
                   fmt::format("Have a call answer with an error and do nothing; may be repeated.\n"
                               "METHOD: {}\nRESULT: {}",
                               fmt::join(callsOf(CallKind::CONTROL), ", "), namesOfErrors()))
        ->type_name("METHOD=RESULT")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->group("Faults");
    app.add_option(
           "--getter-error", getterErrors,
           fmt::format("Have a getter answer with an error, and with its data, or with nothing "
                       "if it\nhas no result; may be repeated.\nMETHOD: {}",
                       fmt::join(callsOf(CallKind::GETTER), ", ")))
        ->type_name("METHOD=RESULT")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->group("Faults");
    app.add_option("--die-after-records", options.faults.dieAfterRecords,
                   "Die as of SIGKILL after the batch with the Nth record, of all streams together")
        ->type_name("N")
        ->check(CLI::PositiveNumber)
        ->group("Faults");
    app.add_option("--die-after-seconds", options.dieAfterSeconds,
                   "Die as of SIGKILL that long after the service can be found")
        ->type_name("S")
        ->check(CLI::Range(0.0, 1e6))
        ->group("Faults");
    addWorldOptions(app, &options.world);
    addCameraOptions(app, &options.cameras);
    addEnvironmentOptions(app, &options.environment);
    addControllerOptions(app, &options.controllers);
    addReplayOptions(app, &options.replay);
    try {
        app.parse(argc, argv);
        for (const std::string& refusal : refusals) {
            addFault("--refuse", refusal, CallKind::CONTROL, &options.faults);
        }
        for (const std::string& getterError : getterErrors) {
            addFault("--getter-error", getterError, CallKind::GETTER, &options.faults);
        }
        if (options.readyDescriptor && fcntl(*options.readyDescriptor, F_GETFD) < 0) {
            throw CLI::ValidationError(
                "--ready-fd", fmt::format("{} is no open descriptor", *options.readyDescriptor));
        }
    } catch (const CLI::ParseError& error) {
        return app.exit(error, out, err) == 0 ? kSuccess : kWrongUsage;
    }
    return options;
}

}  // namespace Simulator
