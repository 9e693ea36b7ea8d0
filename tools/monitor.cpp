// sensorctl monitor
#include <chrono>

#include "commands.h"
#include "display.h"
#include "waiter.h"

namespace {

struct MonitorOptions {
    SessionOptions session;
    double intervalSeconds = 1;
};

/// Shows a live table of the streams, then a summary.
void monitor(const MonitorOptions& options) {
    Shutdown shutdown(kShutdownGrace);
    Session session(options.session, shutdown);
    Display display;
    const auto interval = durationOf(options.intervalSeconds);
    session.start();
    // The interval that the end cuts short is in the summary.
    while (session.receiveUntil(std::chrono::steady_clock::now() + interval)) {
        display.update(session.intervalTable());
        session.restartIntervals();
    }
    conclude(session, shutdown);
}

}  // namespace

void addMonitorCommand(CLI::App& app) {
    const auto options = std::make_shared<MonitorOptions>();
    CLI::App& command = *app.add_subcommand(
        "monitor", "Show rate, batch size, latency, drops and values of the streams as they come");
    addSessionOptions(command, options->session);
    command
        .add_option("--interval", options->intervalSeconds, "Seconds from one table to the next")
        ->type_name("SECONDS")
        ->check(secondsFrom(0.1))
        ->capture_default_str();
    command.callback([options] { monitor(*options); });
}
