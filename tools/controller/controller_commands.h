// The sub-commands for hand controllers; conventions as in commands.h.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

void addControllerUpdateCommand(CLI::App& controllers);
void addControllerBuzzCommand(CLI::App& controllers);

/// Adds the argument that names a controller.
void addControllerArgument(CLI::App& command, std::string& key);
