// sensorctl list
#include "camera/camera_inventory.h"
#include "commands.h"
#include "controller/controller_inventory.h"
#include "display.h"
#include "environment/environment_inventory.h"
#include "failure.h"
#include "inventory.h"
#include "motion/motion_inventory.h"

static void list() {
    // There is nothing to tidy up: a signal or the death of the service ends this at once.
    const Shutdown shutdown(std::chrono::milliseconds::zero());
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
