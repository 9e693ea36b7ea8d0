// Reads the process name from the kernel.
#include "os/process.h"

#include <fstream>

namespace Vek::OS::Process {

std::string getCurrentProcessName() {
    std::ifstream commandLine{"/proc/self/cmdline"};
    std::string name;
    std::getline(commandLine, name, '\0');
    return name;
}

}  // namespace Vek::OS::Process
