// sensorctl list
#include <utility>

#include "commands.h"
#include "failure.h"
#include "inventory.h"
#include "output.h"
#include "wait_notice.h"

static void list() {
    const Shutdown shutdown(kNoGrace);
    Inventory inventory;
    using ListArea = void (*)(Inventory&);
    constexpr std::pair<const char*, ListArea> kAreas[] = {
        {"the motion services", listMotion},
        {"the camera service", listCameras},
        {"the controller services", listControllers},
        {"the services for lights, external clocks and messages", listEnvironment},
    };
    for (const auto& [services, listArea] : kAreas) {
        const WaitNotice notice(services);
        listArea(inventory);
    }
    if (!inventory.isAnyRunning()) {
        throw missingService("IMotionSensorProvider");
    }
    Output::print(inventory.tables());
}

void addListCommand(CLI::App& app) {
    app.add_subcommand("list", "Print which services run, and the devices they offer")
        ->callback(list);
}
