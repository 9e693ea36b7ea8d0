// Which controllers there are.
#pragma once

#include <vek/sensors/controller.h>

#include "table.h"

/// Those that are paired, and those that advertise themselves.
Table controllerTable(Vek::Sensors::IControllerProvider& provider);
