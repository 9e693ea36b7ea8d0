// Output on standard error: why a command failed, and the library's log lines.
#pragma once

#include <exception>

#include "failure.h"

namespace Diagnostics {

/// Lets through the log lines of the library that are errors; all of them if `isVerbose`.
void filterLog(bool isVerbose);

/// Prints why the command ends.
void report(const std::exception& error, ExitCode exitCode);

}  // namespace Diagnostics
