// Time stamps of the pulses of a clock outside of the headset.
#pragma once

#include <vek/sensors/stream.h>

#include <cstdint>

namespace Vek::Sensors {

/// Bits of ExternalTimestampData::status.
enum ExternalTimestampStatus : uint32_t {
    /// The estimate of the clock's rate has settled.
    EXTERNAL_TIMESTAMP_LOCKED = 1U << 0,
    /// Records before this one were dropped because the client's queue was full.
    EXTERNAL_TIMESTAMP_DISCONTINUITY = 1U << 1,
};

/// One pulse of an external clock (48 bytes).
struct ExternalTimestampData {
    /// When the pulse came: CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    /// When the service received the record: CLOCK_MONOTONIC, in ns.
    int64_t arrivalTimestamp;
    /// Time of the pulse on the external clock, in ns.
    int64_t externalTimestamp;
    /// Rate of the external clock: its seconds per second of CLOCK_MONOTONIC.
    double clockRate;
    /// Standard deviation of `timestamp`, in ns.
    uint32_t uncertainty;
    /// Counts the source's pulses, including dropped ones; wraps.
    uint32_t sequence;
    /// Number of the external clock, from 0.
    uint32_t source;
    /// ExternalTimestampStatus bits.
    uint32_t status;
};

/// The pulses of the external clocks.
///
/// A control call that the service refuses, or that cannot be delivered, ends the process.
/// Destroying the object does not stop the stream. Threading: no locks; use from one thread. The
/// records arrive on the thread that waits on the stream's composite.
class IExternalTimingProvider {
  public:
    /// The stream of pulses; owned by this object. Declared before the destructor, as in the
    /// virtual table that programs are built against.
    virtual IDataStream<ExternalTimestampData>& streamExternalTimestampData() = 0;

    virtual ~IExternalTimingProvider() = default;

    /// Starts the pulses. Add the stream to a composite first.
    virtual void startExternalTimestampDataStream() = 0;
    virtual void stopExternalTimestampDataStream() = 0;
};

}  // namespace Vek::Sensors
