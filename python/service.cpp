// Deaths come as a signal, whose handler may do next to nothing.
#include "service.h"

#include <android/log.h>
#include <vek/sensors/service.h>

#include <atomic>
#include <csignal>

namespace Service {
namespace {

std::atomic<Life> current{0};
/// Number of the last life that has ended.
std::atomic<Life> lastOver{0};
static_assert(std::atomic<Life>::is_always_lock_free);

void noteDeath(int /*signal*/) {
    lastOver = current.load();
}

/// Hides other lines, which would mix with the script's output.
void logErrors(const __android_log_message* line) {
    if (line->priority >= ANDROID_LOG_ERROR) {
        __android_log_stderr_logger(line);
    }
}

}  // namespace

Life currentLife() {
    static const bool isPrepared = [] {
        __android_log_set_logger(logErrors);
        struct sigaction action {};
        action.sa_handler = noteDeath;
        action.sa_flags = SA_RESTART;
        sigaction(SIGUSR2, &action, nullptr);
        Vek::Sensors::suppressTransportCrashDumps(true);
        return true;
    }();
    static_cast<void>(isPrepared);
    // Needs no more than this: it is called with the GIL.
    if (isOver(current)) {
        ++current;
    }
    return current;
}

bool isOver(Life life) {
    return life <= lastOver;
}

void requireAlive(Life life) {
    if (isOver(life)) {
        throw ServiceDied("the sensor service died; objects made before do not work any more");
    }
}

void handleSignals() {
    if (PyErr_CheckSignals() != 0) {
        throw pybind11::error_already_set();
    }
}

}  // namespace Service
