// sensorctl mux
#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "camera/mux_state.h"
#include "commands.h"
#include "failure.h"
#include "output.h"

using namespace Vek::Sensors;

namespace {

struct MuxOptions {
    std::string mode;
    bool isAtOnce = false;
};

void mux(const MuxOptions& options) {
    const Shutdown shutdown(kNoGrace);
    const auto provider = requireService(createCameraProvider(), "ICameraProvider");
    if (!options.mode.empty() && !provider->applyMuxMode(options.mode, options.isAtOnce ? 1 : 0)) {
        throw Failure(ExitCode::FAILED,
                      fmt::format("the service refuses mux mode '{}'", options.mode));
    }
    const auto state = muxStateInForce(*provider);
    if (!state) {
        throw Failure(ExitCode::FAILED, "the service has no cameras to share out");
    }
    Output::print({{"mux_modes", muxModeTable(*state)}, {"slots", muxSlotTable(*state)}});
}

}  // namespace

void addMuxCommand(CLI::App& app) {
    const auto options = std::make_shared<MuxOptions>();
    CLI::App& command = *app.add_subcommand(
        "mux",
        "Show how the cameras are shared out among their purposes, after applying a mode if one is "
        "named");
    CLI::Option* const mode =
        command
            .add_option(
                "MODE", options->mode,
                "Mux mode to apply, for all clients; the service has no list of them, only the "
                "one in force and its fallback are known")
            ->type_name("");
    command
        .add_flag("--at-once", options->isAtOnce,
                  "Switch at once, not at the end of the running cycle of slots")
        ->needs(mode);
    command.callback([options] { mux(*options); });
}
