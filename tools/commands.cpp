// What the commands that stream have in common.
#include "commands.h"

#include "display.h"
#include "failure.h"

void conclude(Session& session, const Shutdown& shutdown) {
    session.finish();
    Display::append(session.summary());
    if (shutdown.cause() == Shutdown::Cause::SERVICE_DEATH) {
        throw Failure(ExitCode::SERVICE_DIED, kServiceDied);
    }
}
