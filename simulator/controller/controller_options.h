// The hand controllers' part of the command line.
#pragma once

#include <CLI/App.hpp>

#include "controller/controller_settings.h"

namespace Simulator {

void addControllerOptions(CLI::App& app, ControllerSettings* settings);

}  // namespace Simulator
