// Collects the inventories of all areas.
#include "inventory.h"

#include "wait_notice.h"

Inventory takeInventory() {
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
    return inventory;
}
