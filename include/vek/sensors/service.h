// What happens in a client process when a service dies.
#pragma once

#include <vek/sensors/export.h>

namespace Vek::Sensors {

/// A client's function that is called when a service dies, and the argument it is called with.
///
/// The function is called at most once, on a HIDL thread of the process: in a process, only the
/// sensor object that is told first of its service's death calls its handlers. All of that object's
/// handlers run, in the order of registration, even if one of them destroys the object. Therefore
/// `context`, which is not owned, must live until the last of them has returned.
///
/// A handler must not wait for a thread that is inside a call to the dead service, nor for one that
/// registers a handler with the same object or destroys that object: both wait for the handlers.
struct ServiceDisconnectHandler {
    void (*handler)(const void* context);
    const void* context;
};

/// Chooses, once for the whole process, how the process reacts to the death of a service.
///
/// | call        | a service dies       | a control call cannot be delivered |
/// |-------------|----------------------|------------------------------------|
/// | never made  | logged, no more      | the process aborts                 |
/// | with true   | ends by SIGUSR2      | ends by SIGUSR2                    |
/// | with false  | the process aborts   | the process aborts                 |
///
/// SIGUSR2 ends a process without a crash dump. A few calls abort even after suppression with true:
/// IControllerStreamingClient's sleepController and wakeController, and those of the pose stream
/// (IControllerStateProvider's preparePoseOutputStream, startPoseOutputStream,
/// stopPoseOutputStream).
///
/// A sensor object keeps the reaction to its service's death that was in force when the object was
/// made, so call this before making any, on the thread that makes them. Calls after the first have
/// no effect.
VEK_SENSORS_EXPORT void suppressTransportCrashDumps(bool suppress);

}  // namespace Vek::Sensors
