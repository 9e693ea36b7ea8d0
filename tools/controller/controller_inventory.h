// Which controllers there are.
#pragma once

#include <vek/sensors/controller.h>

#include "table.h"

/// The paired controllers, and those that advertise themselves.
Table controllerTable(Vek::Sensors::IControllerProvider& provider);
