// The options of the command line that concern playing back.
#pragma once

#include <CLI/CLI.hpp>

#include "replay/replay_options.h"

namespace Simulator {

/// Adds them to a group of their own. `options` must live as long as `app`.
void addReplayOptions(CLI::App& app, ReplayOptions* options);

}  // namespace Simulator
