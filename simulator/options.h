// The command line.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

#include "camera/camera_settings.h"
#include "control.h"
#include "controller/controller_settings.h"
#include "environment/environment_settings.h"
#include "faults.h"
#include "replay/replay_options.h"
#include "world/world_settings.h"

namespace Simulator {

struct Options {
    FaultSettings faults;
    CameraSettings cameras;
    /// Those that there are from the beginning.
    std::vector<Fault> initialFaults;
    std::vector<ScriptLine> script;
    /// In s: where the script goes on, and how long the service stays away, after a death that it
    /// is to come back from.
    double scriptFrom = 0;
    double returnAfter = 0;
    ControllerSettings controllers;
    EnvironmentSettings environment;
    WorldSettings world;
    ReplayOptions replay;
    /// Of the world's clock; 0 if the clients pace it.
    double speed = 1;
    /// Counted from when the service can be found.
    std::optional<double> dieAfterSeconds;
    /// Told when the service can be found.
    std::optional<int> readyDescriptor;
    /// Gets the summary as well; empty: no file does.
    std::string summaryFile;
    bool isQuiet = false;
};

enum ExitCode { kSuccess = 0, kFailure = 1, kWrongUsage = 2 };

/// @return the exit code if there is nothing to run: help was asked for and printed on `out`, or
/// what is wrong was printed on `err`.
std::variant<Options, ExitCode> parseOptions(int argc, const char* const* argv, std::ostream& out,
                                             std::ostream& err);

}  // namespace Simulator
