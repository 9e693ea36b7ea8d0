// What goes to standard error: why a command failed, and what the library logs.
#pragma once

#include <exception>

#include "failure.h"

namespace Diagnostics {

/// Lets through the log lines of the library that are errors; all of them if `isVerbose`.
void filterLog(bool isVerbose);

/// Says why the command ends.
void report(const std::exception& error, ExitCode exitCode);

}  // namespace Diagnostics
