// Completion of the command line by shells.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

/// The script that teaches `shell`, bash or zsh, the commands, options and stream names of `app`.
std::string completionScript(const CLI::App& app, const std::string& shell);
