// The update of one controller's firmware, with its progress reports.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IControllerManagementClient.h>

#include <memory>

#include "controller/controller_fleet.h"
#include "hal.h"

namespace Simulator {

using FirmwareReports = Hidl::IControllerManagementClient::FWUpdateCallbackConfig;

/// Begins the update of a paired controller. It runs on a thread of its own and continues after the
/// death of the client that asked for it: a controller with half a firmware would be useless.
/// @param reports how often to call the client. The first report is 0; the last one is 1 if the
/// update succeeds. After that the controller leaves its updating state. A client that takes
/// seconds for one report gets no more.
Hidl::Result beginFirmwareUpdate(const std::shared_ptr<ControllerFleet>& fleet,
                                 Hidl::ControllerAddr address, Hidl::ControllerType type,
                                 const FirmwareReports& reports);

}  // namespace Simulator
