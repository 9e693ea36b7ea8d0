// The devices around optics and radio, as their services describe them.
#include "inventory.h"

#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include "environment/environment_names.h"
#include "environment/led_table.h"
#include "environment/light_sensor.h"

using namespace Vek::Sensors;

namespace {

Table lightSensorTable(IFlickerSensorProvider& sensor) {
    Table table({{"light sensor", Table::Align::LEFT},
                 {"vendor", Table::Align::LEFT},
                 {"serial number", Table::Align::LEFT}});
    const FlickerSensorProperties properties = sensor.properties();
    const auto text = [](const std::string& value) {
        return value.empty() ? std::string("-") : printable(value);
    };
    table.addRow({text(properties.name), text(properties.vendor), text(properties.serialNumber)});
    return table;
}

}  // namespace

void listEnvironment(Inventory& inventory) {
    const auto lightSensor = findLightSensor();
    const auto leds = createFaceEyeTrackingLed();
    inventory.addService("IFlickerSensor", lightSensor != nullptr);
    inventory.addService("IFaceEyeTrackingLed", leds != nullptr);
    inventory.addService("IExternalTimingProvider", createExternalTimingProvider() != nullptr);
    inventory.addService("ITambril", createTambStream() != nullptr);
    if (lightSensor != nullptr) {
        inventory.addTable(lightSensorTable(*lightSensor));
    }
    if (leds != nullptr) {
        inventory.addTable(ledTable(*leds));
    }
}
