// sensorctl: shows and records the sensors of a device.
#include <exception>

#include "command_line.h"
#include "diagnostics.h"
#include "failure.h"

int main(int argc, char** argv) {
    ExitCode exitCode = ExitCode::OK;
    try {
        exitCode = runCommandLine({argv + 1, argv + argc});
    } catch (const Failure& failure) {
        exitCode = failure.exitCode();
        Diagnostics::report(failure, exitCode);
    } catch (const std::exception& error) {
        exitCode = ExitCode::FAILED;
        Diagnostics::report(error, exitCode);
    }
    return static_cast<int>(exitCode);
}
