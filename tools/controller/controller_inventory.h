// Which controllers there are.
#pragma once

#include <vek/sensors/controller.h>

#include "inventory.h"

void listControllers(Inventory& inventory);

/// Those that are paired, and those that advertise themselves.
Table controllerTable(Vek::Sensors::IControllerProvider& provider);
