// sensorctl echo
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands.h"
#include "output.h"
#include "record_printer.h"
#include "session.h"
#include "shutdown.h"

namespace {

struct EchoOptions {
    SessionOptions session;
    std::optional<uint64_t> count;
    bool isOnce = false;
    std::vector<std::string> fields;
    bool isCsv = false;
};

void echo(const EchoOptions& options) {
    using Format = RecordPrinter::Format;
    const Format format =
        options.isCsv ? Format::CSV : (Output::isJson() ? Format::JSON : Format::TEXT);
    RecordPrinter printer(format, options.fields,
                          options.isOnce ? std::optional<uint64_t>(1) : options.count);
    Shutdown shutdown(kShutdownGrace);
    Session session(options.session, shutdown);
    session.printTo(printer);
    session.start();
    while (session.receiveUntil(Session::Time::max())) {
    }
    session.finish();
    shutdown.requireService();
}

}  // namespace

void addEchoCommand(CLI::App& app) {
    const auto options = std::make_shared<EchoOptions>();
    CLI::App& command = *app.add_subcommand(
        "echo", "Print the records of one stream as they come, all fields or those of --field");
    addStreamArgument(command, options->session);
    addFilterOptions(command, options->session);
    addDurationOption(command, options->session.durationSeconds);
    CLI::Option* const once = command.add_flag("--once", options->isOnce, "End after one record");
    command.add_option("--count", options->count, "End after so many records")
        ->type_name("N")
        ->check(CLI::Range(uint64_t{1}, UINT64_MAX))
        ->excludes(once);
    command
        .add_option("--field", options->fields,
                    "Only these columns of a recording, separated by commas; the beginning of "
                    "several\nnames stands for all of them: acceleration")
        ->type_name("NAME,...")
        ->delimiter(',');
    command.add_flag("--csv", options->isCsv, "Print rows, below their titles");
    command.callback([options] { echo(*options); });
}
