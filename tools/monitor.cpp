// sensorctl monitor
#include <chrono>

#include "commands.h"
#include "display.h"

void monitor(const SessionOptions& options, double intervalSeconds) {
    Shutdown shutdown(kShutdownGrace);
    Session session(options, shutdown);
    Display display;
    const auto interval = std::chrono::duration_cast<std::chrono::nanoseconds>(
        std::chrono::duration<double>(intervalSeconds));
    session.start();
    bool goesOn = true;
    while (goesOn) {
        goesOn = session.receiveUntil(std::chrono::steady_clock::now() + interval);
        display.update(session.intervalTable());
        session.restartIntervals();
    }
    conclude(session, shutdown);
}
