// The world's part of the command line.
#pragma once

#include <CLI/App.hpp>

#include "world/world_settings.h"

namespace Simulator {

void addWorldOptions(CLI::App& app, WorldSettings* settings);

}  // namespace Simulator
