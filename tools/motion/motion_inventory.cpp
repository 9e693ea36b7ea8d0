// The motion sensors as their provider lists them.
#include "inventory.h"

#include <vek/sensors/factories.h>

#include <optional>

#include "recording/enum_names.h"

using namespace Vek::Sensors;
using Recording::Named;
using Recording::nameIn;

namespace {

constexpr Named<MotionSensorKind> kKinds[] = {
    {MotionSensorKind::IMU, "imu"},
    {MotionSensorKind::MAGNETOMETER, "magnetometer"},
};
constexpr Named<MotionSensorMount> kMounts[] = {
    {MotionSensorMount::HEADSET, "headset"},
    {MotionSensorMount::BOARD, "board"},
};

/// Empty if the service does not return the sensor, or its kind is unknown.
std::optional<MotionSensorProperties> propertiesOf(IMotionSensorProvider& provider,
                                                   const MotionSensorInfo& info) {
    if (info.kind == MotionSensorKind::IMU) {
        if (const auto imu = provider.getImu(info.sensor)) {
            return imu->props();
        }
    } else if (info.kind == MotionSensorKind::MAGNETOMETER) {
        if (const auto mag = provider.getMag(info.sensor)) {
            return mag->props();
        }
    }
    return std::nullopt;
}

Table sensorTable(IMotionSensorProvider& provider) {
    Table table({"sensor", "kind", "mount", "index", "name", "vendor", "serial number", "firmware",
                 "max rate Hz"});
    for (const MotionSensorInfo& info : provider.getSensorInfo().sensors) {
        const auto properties = propertiesOf(provider, info);
        const auto cell = [&properties](auto MotionSensorProperties::*field) {
            return properties ? Cell((*properties).*field) : Cell();
        };
        table.addRow({info.sensor, nameIn(kKinds, info.kind, "kind"),
                      nameIn(kMounts, info.mount, "mount"), info.index,
                      cell(&MotionSensorProperties::name), cell(&MotionSensorProperties::vendor),
                      cell(&MotionSensorProperties::serialNumber),
                      cell(&MotionSensorProperties::firmwareVersion),
                      cell(&MotionSensorProperties::maxSampleRate)});
    }
    return table;
}

}  // namespace

void listMotion(Inventory& inventory) {
    const auto provider = createMotionSensorProvider();
    inventory.addService("IMotionSensorProvider", provider != nullptr);
    inventory.addService("IImu", createImuSensor() != nullptr);
    inventory.addService("IMag", createMagSensor() != nullptr);
    inventory.addService("IIad", createIadSensor() != nullptr);
    if (provider != nullptr) {
        inventory.addTable("motion_sensors", sensorTable(*provider));
    }
}
