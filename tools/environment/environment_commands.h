// The commands flicker, leds, rpc and time.
#pragma once

#include <CLI/App.hpp>

void addFlickerCommand(CLI::App& app);
void addLedsCommand(CLI::App& app);
void addRpcCommand(CLI::App& app);
void addTimeCommand(CLI::App& app);

/// All of the above.
void addEnvironmentCommands(CLI::App& app);
