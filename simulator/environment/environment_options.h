// The command line's options about the headset's surroundings.
#pragma once

#include <CLI/App.hpp>

#include "environment/environment_settings.h"

namespace Simulator {

void addEnvironmentOptions(CLI::App& app, EnvironmentSettings* settings);

}  // namespace Simulator
