// The sub-commands. Each throws Failure for what ends it early.
#pragma once

#include <chrono>
#include <filesystem>

#include "session.h"

/// How long a run may take to end once it is asked to.
inline constexpr std::chrono::seconds kShutdownGrace{2};

/// Prints which services run, and the motion sensors.
void list();

/// Shows a live table of the streams, then a summary.
void monitor(const SessionOptions& options, double intervalSeconds);

/// Writes each stream to a CSV file in `directory`, then prints a summary.
void record(const SessionOptions& options, const std::filesystem::path& directory);

/// Ends a run of streams: stops them, prints the summary. Throws Failure if the service died.
void conclude(Session& session, const Shutdown& shutdown);
