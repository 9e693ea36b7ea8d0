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
    /// Faults that are set at the start.
    std::vector<Fault> initialFaults;
    std::vector<ScriptLine> script;
    /// Set for a process that replaces one that died, in s: how much of the script is over, and how
    /// long to wait before the service returns.
    double scriptFrom = 0;
    double returnAfter = 0;
    ControllerSettings controllers;
    EnvironmentSettings environment;
    WorldSettings world;
    ReplayOptions replay;
    /// Speed of the world's clock; 0 if the clients pace it.
    double speed = 1;
    /// Time until the process dies, from when the service can be found.
    std::optional<double> dieAfterSeconds;
    /// Descriptor that receives "ready" when the service can be found.
    std::optional<int> readyDescriptor;
    /// File for the summary; empty: none.
    std::string summaryFile;
    bool isQuiet = false;
};

enum ExitCode { kSuccess = 0, kFailure = 1, kWrongUsage = 2 };

/// @return the exit code if there is nothing to run: help was printed on `out`, or an error on
/// `err`.
std::variant<Options, ExitCode> parseOptions(int argc, const char* const* argv, std::ostream& out,
                                             std::ostream& err);

}  // namespace Simulator
