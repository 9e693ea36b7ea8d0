// sensorctl record
#include "commands.h"

void record(const SessionOptions& options, const std::filesystem::path& directory) {
    Shutdown shutdown(kShutdownGrace);
    Session session(options, shutdown);
    session.recordTo(directory);
    session.start();
    while (session.receiveUntil(Session::Time::max())) {
    }
    conclude(session, shutdown);
}
