// Command-line options of playback.
#pragma once

#include <CLI/CLI.hpp>

#include "replay/replay_options.h"

namespace Simulator {

/// Adds them to a group of their own. `options` must live as long as `app`.
void addReplayOptions(CLI::App& app, ReplayOptions* options);

}  // namespace Simulator
