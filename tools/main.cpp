// sensorctl: shows and records the sensors of a device.
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "commands.h"
#include "failure.h"

namespace {

constexpr char kFooter[] =
    "Exit codes: 0 done, also after Ctrl-C; 1 failed; 2 wrong usage; 3 no service is running; "
    "4 the service died;\n"
    "129, 130 or 143 ended by SIGHUP, SIGINT or SIGTERM with nothing to tidy up, or before that "
    "was done;\n"
    "134 the library ended the program (SIGABRT), as it does when the service refuses a call: its "
    "log line says which.";

ExitCode runCommandLine(int argc, char** argv) {
    CLI::App app("Shows and records the sensors of a device.", "sensorctl");
    app.footer(kFooter);
    app.require_subcommand(1);
    for (auto addCommand : {addListCommand, addMonitorCommand, addRecordCommand, addCaptureCommand,
                            addMuxCommand, addControllersCommand, addPoseCommand, addFlickerCommand,
                            addLedsCommand, addRpcCommand, addTimeCommand}) {
        addCommand(app);
    }
    try {
        // Runs the command as well.
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const bool isHelp = app.exit(error) == 0;
        return isHelp ? ExitCode::OK : ExitCode::USAGE;
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        throw Failure(ExitCode::FAILED,
                      "cannot write standard output: " + std::generic_category().message(errno));
    }
    return ExitCode::OK;
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
