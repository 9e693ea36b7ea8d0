// Which light sensors, LEDs, external clocks and ways to the controllers there are.
#pragma once

#include "inventory.h"

void listEnvironment(Inventory& inventory);
