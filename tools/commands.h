// The sub-commands. Each adds itself to the command line and runs when the user names it. A command
// that fails throws Failure.
#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <optional>

#include "session.h"

/// How long a run may take to end after a request.
inline constexpr std::chrono::seconds kShutdownGrace{2};

/// For commands without clean-up: a signal or the death of the service ends them at once.
inline constexpr std::chrono::milliseconds kNoGrace{0};

void addListCommand(CLI::App& app);
void addMonitorCommand(CLI::App& app);
void addEchoCommand(CLI::App& app);
void addRecordCommand(CLI::App& app);
void addRecordingCommand(CLI::App& app);
void addCaptureCommand(CLI::App& app);
void addMuxCommand(CLI::App& app);
void addControllersCommand(CLI::App& app);
void addPoseCommand(CLI::App& app);
void addFlickerCommand(CLI::App& app);
void addLedsCommand(CLI::App& app);
void addRpcCommand(CLI::App& app);
void addTimeCommand(CLI::App& app);

/// Adds the option that ends a run by itself.
void addDurationOption(CLI::App& command, std::optional<double>& seconds);

/// Adds the options that choose among the records of a stream.
void addFilterOptions(CLI::App& command, SessionOptions& options);

/// Adds the argument that names one stream.
void addStreamArgument(CLI::App& command, SessionOptions& options);

/// Adds the common options of commands that measure streams.
void addSessionOptions(CLI::App& command, SessionOptions& options);

/// A number of seconds from `least` to a few years.
CLI::Validator secondsFrom(double least);

/// Ends a run of streams: stops them, prints the summary. Throws Failure if the service died.
void conclude(Session& session, const Shutdown& shutdown);
