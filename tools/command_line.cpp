// Assembles the commands and runs the one that the user named.
#include "command_line.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

#include "commands.h"
#include "completion.h"
#include "diagnostics.h"
#include "names.h"
#include "output.h"
#include "table.h"

namespace {

constexpr char kJson[] = "--json";
constexpr char kVerbose[] = "--verbose";
constexpr char kFooter[] =
    "Exit codes:\n"
    "  0    done, also after Ctrl-C\n"
    "  1    failed\n"
    "  2    wrong usage\n"
    "  3    no service is running\n"
    "  4    the service died\n"
    "  5    an expectation was not met\n"
    "  129, 130, 143\n"
    "       ended by SIGHUP, SIGINT or SIGTERM, with nothing to tidy up or before that was done\n"
    "  134  the library ended the program (SIGABRT), as it does when the service refuses a\n"
    "       call: its log line says which";

/// Adds the output options to each command, where users look for them.
void addOutputOptions(CLI::App& app) {
    const auto commands = app.get_subcommands({});
    for (CLI::App* const command : commands) {
        addOutputOptions(*command);
    }
    if (commands.empty()) {
        app.add_flag(kJson, "Print objects for programs, one on each line");
        app.add_flag(kVerbose, "Print all log lines of the library, not errors only");
    }
}

/// Applies the output options before parsing, so that errors in the command line are reported
/// accordingly.
void obeyOutputOptions(const std::vector<std::string>& words) {
    const auto isGiven = [&words](const char* option) {
        return std::find(words.begin(), words.end(), option) != words.end();
    };
    Output::setJson(isGiven(kJson));
    Diagnostics::filterLog(isGiven(kVerbose));
}

/// Throws Failure if a word in the place of a command is not one.
void requireCommands(const CLI::App& app, const std::vector<std::string>& words) {
    const CLI::App* group = &app;
    for (const std::string& word : words) {
        const auto commands = group->get_subcommands({});
        if (commands.empty() || word.empty() || word.front() == '-') {
            return;
        }
        std::vector<std::string> names;
        const CLI::App* named = nullptr;
        for (const CLI::App* const command : commands) {
            names.push_back(command->get_name());
            named = command->get_name() == word ? command : named;
        }
        if (named == nullptr) {
            const std::string nearest = nearestName(names, word);
            throw Failure(ExitCode::USAGE,
                          fmt::format("{} has no command '{}'.{} There are: {}", group->get_name(),
                                      printable(word),
                                      nearest.empty() ? "" : " Did you mean '" + nearest + "'?",
                                      listOf(names)));
        }
        group = named;
    }
}

void addCompletionCommand(CLI::App& app) {
    const auto shell = std::make_shared<std::string>();
    CLI::App& command = *app.add_subcommand(
        "completion", "Print the script that completes sensorctl's command line in a shell");
    command.add_option("shell", *shell, "bash or zsh")
        ->type_name("SHELL")
        ->required()
        ->check(CLI::IsMember({"bash", "zsh"}));
    command.callback([shell, &app] { fmt::print("{}", completionScript(app, *shell)); });
}

}  // namespace

void describeCommandLine(CLI::App& app) {
    app.name("sensorctl");
    app.description("Shows and records the sensors of a device.");
    app.footer(kFooter);
    app.set_version_flag("--version", fmt::format("sensorctl {} (JSON schema {})", MORIAK_VERSION,
                                                  Output::kJsonSchema));
    app.require_subcommand(1);
    for (auto addCommand :
         {addListCommand, addMonitorCommand, addEchoCommand, addRecordCommand, addRecordingCommand,
          addCaptureCommand, addMuxCommand, addControllersCommand, addPoseCommand,
          addFlickerCommand, addLedsCommand, addRpcCommand, addTimeCommand}) {
        addCommand(app);
    }
    addOutputOptions(app);
    addCompletionCommand(app);
}

ExitCode runCommandLine(const std::vector<std::string>& words) {
    obeyOutputOptions(words);
    CLI::App app;
    describeCommandLine(app);
    requireCommands(app, words);
    try {
        // Parses and runs the command. CLI11 expects the words in reverse order.
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0 || !Output::isJson()) {
            return app.exit(error) == 0 ? ExitCode::OK : ExitCode::USAGE;
        }
        throw Failure(ExitCode::USAGE, error.what());
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        throw Failure(ExitCode::FAILED,
                      "cannot write standard output: " + std::generic_category().message(errno));
    }
    return ExitCode::OK;
}
