// Facts about the current process.
#pragma once

#include <string>

namespace Vek::OS::Process {

/// The name under which the process was started (its first argument); empty if it cannot be read.
std::string getCurrentProcessName();

}  // namespace Vek::OS::Process
