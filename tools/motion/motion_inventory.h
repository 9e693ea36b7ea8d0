// Which motion sensors there are.
#pragma once

#include "inventory.h"

void listMotion(Inventory& inventory);
