// Output on standard error: why a command failed, and the library's log lines.
#pragma once

#include <exception>

#include "failure.h"

namespace Diagnostics {

/// Prints only error lines of the library's log, or all lines if `isVerbose`.
void filterLog(bool isVerbose);

/// Prints why the command ends.
void report(const std::exception& error, ExitCode exitCode);

}  // namespace Diagnostics
