// Which cameras there are, and how they are set up.
#pragma once

#include "inventory.h"

void listCameras(Inventory& inventory);
