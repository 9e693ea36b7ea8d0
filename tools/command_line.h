// The command line of sensorctl as a whole.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "failure.h"

/// Gives `app` all commands and options.
void describeCommandLine(CLI::App& app);

/// Runs the command that the words name. Prints help and usage errors; throws Failure if the
/// command fails.
ExitCode runCommandLine(const std::vector<std::string>& words);
