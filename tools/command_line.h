// The command line of sensorctl as a whole.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "failure.h"

/// Gives `app` all commands and options.
void describeCommandLine(CLI::App& app);

/// Runs the command that the words name; prints help and complaints about the words. Throws Failure
/// for all else that ends it early.
ExitCode runCommandLine(const std::vector<std::string>& words);
