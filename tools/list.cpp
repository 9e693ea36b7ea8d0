// sensorctl list
#include <CLI/CLI.hpp>

#include "commands.h"
#include "failure.h"
#include "inventory.h"
#include "output.h"

static void printList() {
    const Shutdown shutdown(kNoGrace);
    const Inventory inventory = takeInventory();
    if (!inventory.isAnyRunning()) {
        throw missingService("IMotionSensorProvider");
    }
    Output::print(inventory.tables());
}

void addListCommand(CLI::App& app) {
    app.add_subcommand("list", "Print which services run, and the devices they offer")
        ->callback(printList);
}
