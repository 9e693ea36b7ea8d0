// sensorctl controllers buzz
#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>

#include "commands.h"
#include "controller/controller_access.h"
#include "controller/controller_commands.h"
#include "controller/controller_text.h"
#include "failure.h"
#include "output.h"
#include "waiter.h"

using namespace Vek::Sensors;

namespace {

struct BuzzOptions {
    std::string key;
    double intensityPercent = 50;
    double durationSeconds = 1;
};

/// Lets a controller vibrate for a while, or until the user ends it.
void buzz(const BuzzOptions& options) {
    Shutdown shutdown(kShutdownGrace);
    Waiter waiter(shutdown);
    const auto provider = requireControllers();
    const PairedControllerInfo info = findPaired(*provider, options.key);
    auto client = provider->getStreamingClient();
    const auto intensity = static_cast<uint8_t>(std::lround(options.intensityPercent * 2.55));
    if (!client->setSimpleHaptics(info.address, intensity)) {
        throw Failure(ExitCode::FAILED,
                      fmt::format("the service refused to let '{}', which is {}, vibrate",
                                  options.key, text(info.connection)));
    }
    Output::print(fmt::format("{} vibrates at {} % for {} s", text(info.name),
                              options.intensityPercent, options.durationSeconds),
                  {{"controller", text(info.address)},
                   {"name", text(info.name)},
                   {"intensity_percent", options.intensityPercent},
                   {"duration_s", options.durationSeconds}});
    waiter.until(deadlineAfter(options.durationSeconds));
    if (shutdown.isServiceDead()) {
        // Not destroyed: the destructor would call the dead service.
        static_cast<void>(client.release());
    }
    shutdown.requireService();
    client->setSimpleHaptics(info.address, 0);
}

}  // namespace

void addControllerBuzzCommand(CLI::App& controllers) {
    const auto options = std::make_shared<BuzzOptions>();
    CLI::App& command =
        *controllers.add_subcommand("buzz", "Let a controller vibrate, to feel which one it is");
    addControllerArgument(command, options->key);
    command.add_option("--intensity", options->intensityPercent, "How strongly")
        ->type_name("PERCENT")
        ->check(CLI::Range(0.0, 100.0))
        ->capture_default_str();
    command.add_option("--duration", options->durationSeconds, "How long")
        ->type_name("SECONDS")
        ->check(secondsFrom(0.01))
        ->capture_default_str();
    command.callback([options] { buzz(*options); });
}
