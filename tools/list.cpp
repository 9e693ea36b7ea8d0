// sensorctl list
#include "commands.h"
#include "display.h"
#include "failure.h"
#include "inventory.h"

static void list() {
    const Shutdown shutdown(kNoGrace);
    Inventory inventory;
    for (auto listArea : {listMotion, listCameras, listControllers, listEnvironment}) {
        listArea(inventory);
    }
    if (!inventory.isAnyRunning()) {
        throw missingService("IMotionSensorProvider");
    }
    Display::append(inventory.services().lines());
    for (const Table& table : inventory.tables()) {
        Display::append({""});
        Display::append(table.lines());
    }
}

void addListCommand(CLI::App& app) {
    app.add_subcommand("list", "Print which services run, and the devices they offer")
        ->callback(list);
}
