// The two ways in which a failed transport ends the process.
#include "foundation/hal_call.h"

#include <unistd.h>

#include <csignal>

#include "foundation/hal_death_recipient.h"

namespace Vek::Sensors::HidlWrapper {
namespace {

constexpr char kTransportFailure[] = "HIDL error in %s: %s";

}  // namespace

void handleCrashDumps(const char* function, const std::string& description) {
    MORIAK_FATAL(kTransportFailure, function, description.c_str());
}

void handleSupressCrashDumps(const char* function, const std::string& description) {
    MORIAK_LOG_ERROR(kTransportFailure, function, description.c_str());
    kill(getpid(), SIGUSR2);
    while (true) {
        pause();
    }
}

void handleTransportFailure(const char* function, const std::string& description) {
    if (HalDeathRecipient::suppressesCrashDumps()) {
        handleSupressCrashDumps(function, description);
    }
    handleCrashDumps(function, description);
}

}  // namespace Vek::Sensors::HidlWrapper
