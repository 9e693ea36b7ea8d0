#include "controller/controller_inventory.h"

#include <fmt/format.h>
#include <vek/sensors/controller_provider.h>
#include <vek/sensors/factories.h>

#include "controller/controller_text.h"
#include "inventory.h"

using namespace Vek::Sensors;

Table controllerTable(IControllerProvider& provider) {
    Table table(
        {"controller", "name", "type", "hand", "state", "battery %", "serial number", "firmware"});
    for (const PairedControllerInfo& info : provider.getPairedControllers()) {
        const bool isUpdating = info.features[CONTROLLER_FEATURE_UPDATING];
        table.addRow({text(info.address), text(info.name), text(info.type), text(info.hand),
                      isUpdating ? "updating" : text(info.connection), info.batteryLevel,
                      text(info.serialNumber), text(info.firmwareVersion)});
    }
    if (const auto client = provider.getManagementClient()) {
        for (const AdvertisingControllerInfo& info : client->getAdvertisingControllers()) {
            table.addRow(
                {text(info.address), text(info.name), text(info.type), Cell(), "advertising"});
        }
    }
    return table;
}

void listControllers(Inventory& inventory) {
    const bool isRunning = createControllerStateProvider() != nullptr;
    // One process offers both services, but only the state provider's factory returns null instead
    // of ending the process.
    inventory.addService("IControllerProvider", isRunning);
    inventory.addService("IControllerStateProvider", isRunning);
    if (isRunning) {
        HidlWrapper::ControllerProvider provider;
        inventory.addTable("controllers", controllerTable(provider));
    }
}
