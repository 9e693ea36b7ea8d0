#include "environment/environment_options.h"

#include <CLI/CLI.hpp>

namespace Simulator {

void addEnvironmentOptions(CLI::App& app, EnvironmentSettings* settings) {
    constexpr char kGroup[] = "Surroundings";
    app.add_option("--flicker", settings->flickerFrequency,
                   "Frequency at which the room's lamps flicker: 100, 120, or 0 for steady light")
        ->type_name("HZ")
        ->check(CLI::IsMember({0U, 100U, 120U}))
        ->capture_default_str()
        ->group(kGroup);
    app.add_option("--illuminance", settings->illuminance,
                   "How bright the room is; the sensor reads up to 3000 lx")
        ->type_name("LX")
        ->check(CLI::Range(0.0, 100'000.0))
        ->capture_default_str()
        ->group(kGroup);
    app.add_option("--rpc-refuse", settings->refusedProcedures,
                   "Have the controllers answer requests of this procedure with an error; may be "
                   "repeated")
        ->type_name("PROCEDURE")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->group(kGroup);
    app.add_option("--rpc-notifications", settings->notificationRate,
                   "How often each controller sends a message unasked to each client")
        ->type_name("HZ")
        ->check(CLI::Range(0U, 1000U))
        ->capture_default_str()
        ->group(kGroup);
}

}  // namespace Simulator
