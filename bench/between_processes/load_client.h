// A client with as many streams as one composite takes, of all areas.
#pragma once

namespace Bench {

/// Sent to a client, which then starts its streams and answers with a byte.
enum class LoadKind : char {
    /// Streams of all areas at their own rates; the client waits without limit.
    kHeadset,
    /// The same; the motion sensors signal every tenth sample.
    kBatched,
    /// The same; the client sleeps for 5 ms, then reads all streams without waiting.
    kPeriodic,
    /// What a service can do for many clients: no cameras, whose images are for a few, and no
    /// stream faster than 100 Hz.
    kCalm,
};

/// Measurements of a client from its start to its stop; a byte requests the stop.
struct LoadSeen {
    double streams = 0;
    double seconds = 0;
    double cpuSeconds = 0;
    double records = 0;
    double waits = 0;
};

/// The client's process.
int runLoadClient();

}  // namespace Bench
