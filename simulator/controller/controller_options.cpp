#include "controller/controller_options.h"

#include <CLI/CLI.hpp>

namespace Simulator {

void addControllerOptions(CLI::App& app, ControllerSettings* settings) {
    app.add_option("--firmware-seconds", settings->firmwareSeconds,
                   "How long the update of a controller's firmware takes")
        ->type_name("S")
        ->check(CLI::Range(0.0, 3600.0))
        ->capture_default_str()
        ->group("Controllers");
    app.add_option("--fail-firmware-at", settings->firmwareFailsAt,
                   "Have updates of controllers' firmware end there, of 0 to 1, without success")
        ->type_name("PROGRESS")
        ->check(CLI::Range(0.0, 1.0))
        ->group("Faults");
}

}  // namespace Simulator
