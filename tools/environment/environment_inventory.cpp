// The devices around optics and radio, as their services describe them.
#include "inventory.h"

#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <string>

#include "environment/environment_names.h"
#include "environment/led_table.h"
#include "environment/light_sensor.h"

using namespace Vek::Sensors;

namespace {

Table lightSensorTable(IFlickerSensorProvider& sensor) {
    Table table({"light sensor", "vendor", "serial number"});
    const FlickerSensorProperties properties = sensor.properties();
    const auto cell = [](const std::string& value) { return value.empty() ? Cell() : Cell(value); };
    table.addRow({cell(properties.name), cell(properties.vendor), cell(properties.serialNumber)});
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
        inventory.addTable("light_sensors", lightSensorTable(*lightSensor));
    }
    if (leds != nullptr) {
        inventory.addTable("led_groups", ledTable(*leds));
    }
}
