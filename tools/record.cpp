// sensorctl record
#include "commands.h"

namespace {

struct RecordOptions {
    SessionOptions session;
    std::string directory;
};

/// Writes each stream to a CSV file, then prints a summary.
void record(const RecordOptions& options) {
    Shutdown shutdown(kShutdownGrace);
    Session session(options.session, shutdown);
    session.recordTo(options.directory);
    session.start();
    while (session.receiveUntil(Session::Time::max())) {
    }
    conclude(session, shutdown);
}

}  // namespace

void addRecordCommand(CLI::App& app) {
    const auto options = std::make_shared<RecordOptions>();
    CLI::App& command = *app.add_subcommand(
        "record", "Write each stream to a CSV file of its name (imu.csv), all fields");
    addSessionOptions(command, options->session);
    command
        .add_option("--out", options->directory,
                    "Directory of the files, made if need be; files in it are replaced")
        ->type_name("DIR")
        ->required();
    command.callback([options] { record(*options); });
}
