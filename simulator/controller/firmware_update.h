// The update of one controller's firmware, with its progress reports.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IControllerManagementClient.h>

#include <memory>

#include "controller/controller_fleet.h"
#include "hal.h"

namespace Simulator {

using FirmwareReports = Hidl::IControllerManagementClient::FWUpdateCallbackConfig;

/// Begins the update of a paired controller. It goes on by itself, on a thread of its own, even if
/// the client that asked for it is gone: a controller with half a firmware would be of no use.
/// @param reports how often to call the client. The first report is 0, the last one 1 if the update
/// succeeds; the controller leaves its updating state after that. A client that takes seconds for
/// one gets no more of them.
Hidl::Result beginFirmwareUpdate(const std::shared_ptr<ControllerFleet>& fleet,
                                 Hidl::ControllerAddr address, Hidl::ControllerType type,
                                 const FirmwareReports& reports);

}  // namespace Simulator
