// sensorctl controllers
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "commands.h"
#include "controller/controller_access.h"
#include "controller/controller_commands.h"
#include "controller/controller_inventory.h"
#include "controller/controller_text.h"
#include "failure.h"
#include "output.h"

using namespace Vek::Sensors;

namespace {

void list() {
    const Shutdown shutdown(kNoGrace);
    Output::print({{"controllers", controllerTable(*requireControllers())}});
}

/// Throws Failure unless the service succeeded.
void check(ControllerResult result, const char* what, const std::string& name) {
    if (result != ControllerResult::SUCCESS) {
        throw Failure(ExitCode::FAILED, fmt::format("cannot {} '{}': the service answered {}", what,
                                                    name, text(result)));
    }
}

template <typename Info>
void report(const char* what, const Info& info) {
    Output::print(fmt::format("{} {} ({})", what, text(info.name), text(info.address)),
                  {{"state", what}, {"controller", text(info.address)}, {"name", text(info.name)}});
}

void pair(const std::string& key) {
    const Shutdown shutdown(kNoGrace);
    const auto client = requireManagementClient(*requireControllers());
    const AdvertisingControllerInfo info = findAdvertising(*client, key);
    check(client->pairController(info.address), "pair", key);
    report("paired", info);
}

void unpair(const std::string& key) {
    const Shutdown shutdown(kNoGrace);
    const auto provider = requireControllers();
    const auto client = requireManagementClient(*provider);
    const PairedControllerInfo info = findPaired(*provider, key);
    check(client->unpairController(info.address), "unpair", key);
    report("unpaired", info);
}

}  // namespace

void addControllerArgument(CLI::App& command, std::string& key) {
    command
        .add_option("controller", key, "Its address or its name, as \"controllers list\" has it")
        ->type_name("CONTROLLER")
        ->required();
}

void addControllersCommand(CLI::App& app) {
    CLI::App& controllers =
        *app.add_subcommand("controllers", "List, pair, update and try the hand controllers");
    controllers.require_subcommand(1);
    controllers.add_subcommand("list", "Print the controllers that are paired or could be")
        ->callback(list);
    const auto key = std::make_shared<std::string>();
    CLI::App& pairing =
        *controllers.add_subcommand("pair", "Pair a controller that advertises itself");
    addControllerArgument(pairing, *key);
    pairing.callback([key] { pair(*key); });
    CLI::App& unpairing = *controllers.add_subcommand("unpair", "End the pairing of a controller");
    addControllerArgument(unpairing, *key);
    unpairing.callback([key] { unpair(*key); });
    addControllerUpdateCommand(controllers);
    addControllerBuzzCommand(controllers);
}
