#include "options.h"

#include <fcntl.h>
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>
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

constexpr double kLongestTime = 1e6;  // in s
constexpr char kErrorNames[] = "FAILURE, BAD_STATE, IGNORED";

/// Adds the fault to the options; throws if it is wrong.
void addFault(const std::string& option, const std::vector<std::string>& words, Options* options) {
    std::string error;
    const std::optional<Fault> fault = parseFault(words, &error);
    if (!fault) {
        throw CLI::ValidationError(option, error);
    }
    options->initialFaults.push_back(*fault);
}

/// Adds "METHOD=RESULT"; throws if METHOD is not a call of this kind.
void addRefusal(const std::string& option, const std::string& value, CallKind kind,
                Options* options) {
    const size_t equals = value.find('=');
    const std::string call = value.substr(0, equals);
    const std::vector<std::string_view> calls = callsOf(kind);
    if (std::find(calls.begin(), calls.end(), call) == calls.end()) {
        throw CLI::ValidationError(option,
                                   fmt::format("'{}' is none of {}", call, fmt::join(calls, ", ")));
    }
    const std::string result = equals == std::string::npos ? "" : value.substr(equals + 1);
    try {
        addFault(option, {"refuse", call, result}, options);
    } catch (const CLI::ValidationError&) {
        throw CLI::ValidationError(
            option, fmt::format("'{}' of '{}' is none of {}", result, value, kErrorNames));
    }
}

std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream stream{text};
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

}  // namespace

std::variant<Options, ExitCode> parseOptions(int argc, const char* const* argv, std::ostream& out,
                                             std::ostream& err) {
    Options options;
    std::vector<std::string> refusals;
    std::vector<std::string> getterErrors;
    std::vector<std::string> faults;
    std::string script;
    CLI::App app{
        "Stands in for the vendor's sensor service: registers the sensors of a headset and "
        "streams\n"
        "what they would measure. Ends on SIGINT or SIGTERM with a summary.\n\n"
        "moriak-sensor-simulator ctl --help tells how to set and clear faults while it runs.",
        "moriak-sensor-simulator"};
    app.set_version_flag("--version", "moriak-sensor-simulator " MORIAK_VERSION);
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
    // Each takes one value; otherwise it would also take the positional words that follow.
    app.add_option("--refuse", refusals,
                   fmt::format("Have a call answer with an error and do nothing; may be repeated.\n"
                               "METHOD: {}\nRESULT: {}",
                               fmt::join(callsOf(CallKind::CONTROL), ", "), kErrorNames))
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
    app.add_option("--fault", faults,
                   "Have this fault from the beginning, as of ctl set, e.g. \"drop headset-imu "
                   "0.1\"; may\nbe repeated")
        ->type_name("FAULT")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->group("Faults");
    app.add_option(
           "--script", script,
           "File with lines \"SECONDS COMMAND\": what ctl would be told that long after the "
           "service\ncan be found, e.g. \"2.5 set stop headset-imu\"")
        ->type_name("FILE")
        ->group("Faults");
    // Hidden options for the process that replaces one that died.
    app.add_option("--return-after", options.returnAfter)
        ->check(CLI::Range(0.0, kLongestTime))
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)
        ->group("");
    app.add_option("--script-from", options.scriptFrom)
        ->check(CLI::Range(0.0, kLongestTime))
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)
        ->group("");
    app.add_option("--die-after-records", options.faults.dieAfterRecords,
                   "Die as of SIGKILL after the batch with the Nth record, of all streams together")
        ->type_name("N")
        ->check(CLI::PositiveNumber)
        ->group("Faults");
    app.add_option("--die-after-seconds", options.dieAfterSeconds,
                   "Die as of SIGKILL that long after the service can be found")
        ->type_name("S")
        ->check(CLI::Range(0.0, kLongestTime))
        ->group("Faults");
    addWorldOptions(app, &options.world);
    addCameraOptions(app, &options.cameras);
    addEnvironmentOptions(app, &options.environment);
    addControllerOptions(app, &options.controllers);
    addReplayOptions(app, &options.replay);
    try {
        app.parse(argc, argv);
        for (const std::string& refusal : refusals) {
            addRefusal("--refuse", refusal, CallKind::CONTROL, &options);
        }
        for (const std::string& getterError : getterErrors) {
            addRefusal("--getter-error", getterError, CallKind::GETTER, &options);
        }
        for (const std::string& fault : faults) {
            addFault("--fault", wordsOf(fault), &options);
        }
        if (!script.empty()) {
            std::string error;
            const auto lines = readScript(script, &error);
            if (!lines) {
                throw CLI::ValidationError("--script", error);
            }
            options.script = *lines;
        }
        options.faults.seed = options.world.seed;
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
