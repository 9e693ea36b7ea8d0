// The link between a client process and the service: its death and what follows from it.
#pragma once

#include <vek/sensors/export.h>

namespace Vek::Sensors {

/// A client's function that is called when a service dies, and the argument it is called with.
///
/// Called on a HIDL thread of the process, in the order of registration, once at most: in a
/// process, only the first sensor object that learns of its service's death calls its handlers. It
/// must not wait for a thread that is inside a call to the dead service, nor for one that destroys
/// the object that it is registered with: that waits for the handler. `context` is not owned.
struct ServiceDisconnectHandler {
    void (*handler)(const void* context);
    const void* context;
};

/// Chooses, once for the whole process, how it meets the death of a service.
///
/// | call        | a service dies       | a control call cannot be delivered |
/// |-------------|----------------------|------------------------------------|
/// | never made  | logged, no more      | the process aborts                 |
/// | with true   | ends by SIGUSR2      | ends by SIGUSR2                    |
/// | with false  | the process aborts   | the process aborts                 |
///
/// SIGUSR2 ends a process without a crash dump. A sensor object keeps the reaction to its service's
/// death that was in force when the object was made, so call this before making any, on the thread
/// that makes them. Calls after the first have no effect.
VEK_SENSORS_EXPORT void suppressTransportCrashDumps(bool suppress);

}  // namespace Vek::Sensors
