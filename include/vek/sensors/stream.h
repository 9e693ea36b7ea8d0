// Data streams and the composite streams on which a client waits for them.
#pragma once

#include <vek/gsl.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Vek::Sensors {

/// Result of a wait.
enum class WaitResult : uint32_t {
    /// At least one stream delivered records to its callback.
    DELIVERED = 0,
    /// The time ran out, or streams were read and had nothing.
    NOTHING_DELIVERED = 1,
    /// wake() ended the wait. No stream was read; what was ready is delivered by the next wait.
    WOKEN = 2,
};

/// Waits for up to 15 data streams at once, on one thread.
///
/// Streams are added with IDataStream::addTo and never removed. Each wait reads every stream whose
/// data is ready once, in the order in which the streams were added, and calls its callback on the
/// waiting thread.
///
/// Lifetime: the composite must not be waited on after one of its streams was destroyed, and
/// neither the composite nor a stream may be destroyed while another thread waits. The composite
/// itself may be destroyed before its streams; then they are never read again.
///
/// Threading: the waits and addTo must be called by one thread at a time; wake() may be called from
/// any thread and from callbacks. A callback must not wait on the composite that called it.
///
/// Power: a client wakes up each time the service signals data, which for several fast sensors is
/// thousands of times a second. There are two ways to fewer wake-ups:
/// - configureStream of a sensor with a batch size, for all clients of the sensor.
/// - Reading periodically: sleep, then waitFor(0). The data-ready bits stay set in between, so the
///   service's signals cost no system call either.
///
/// Measured with all sensors streaming: 200 wake-ups a second in place of 3,350, and 0.7 % of a
/// core in place of 6.6 %. The queue must hold what arrives in between (setQueueSize).
class ICompositeStream {
  public:
    virtual ~ICompositeStream() = default;

    /// Waits without limit.
    virtual WaitResult wait() = 0;

    /// Waits for `timeout` at most. Zero or less reads every stream once and does not wait.
    virtual WaitResult waitFor(std::chrono::nanoseconds timeout) = 0;

    /// Waits until `deadline` at most. A deadline in the past reads every stream once.
    virtual WaitResult waitUntil(std::chrono::steady_clock::time_point deadline) = 0;

    /// Ends the wait in progress, or else the next one.
    virtual void wake() = 0;
};

/// Makes composite streams. Stateless; may be used from any thread.
class IStreamCompositor {
  public:
    virtual ~IStreamCompositor() = default;

    /// @param name labels the shared memory of the composite, for debugging; cut after 249 bytes.
    virtual std::unique_ptr<ICompositeStream> createCompositeStream(std::string name) = 0;
};

/// One stream of records of type `Data`, arriving through a queue in shared memory.
///
/// Use: setQueueSize (if 32 records are too few), setCallbackv, addTo, then start the stream on
/// the sensor object that owns it, then wait on the composite. The stream belongs to its sensor
/// object and lives as long as that.
///
/// Threading: not synchronised; all calls belong on the thread that waits on the composite.
template <typename Data>
class IDataStream {
  public:
    /// What one call of the callback receives: one or two spans of records, oldest first. Loop over
    /// the spans; the second may be missing or empty.
    using Batch = gsl::span<const gsl::span<const Data>>;

    virtual ~IDataStream() = default;

    /// Creates the queue, takes the composite's next place and hands the queue to the service.
    /// The composite must come from IStreamCompositor. Ends the process if the composite is full,
    /// if there is no memory for the queue, or if the service refuses.
    ///
    /// A second call, for the same or another composite, replaces the queue; unread records are
    /// lost. The place in the first composite stays taken, and the first composite must not be
    /// waited on any more. After the composite was destroyed the stream can be added to another
    /// one.
    virtual void addTo(ICompositeStream& composite) = 0;

    /// Sets the capacity of the queue, in records. Ends the process once addTo was called. The
    /// capacity is not checked here: with 0, or more than a GiB of records, addTo ends the process.
    /// A queue larger than the processor's L2 cache makes each record about three times as
    /// expensive to read, once the queue fills.
    virtual void setQueueSize(size_t messages) = 0;

    /// The capacity of the queue, in records; 32 unless set.
    virtual size_t getQueueSize() = 0;

    /// Sets the function that receives the records. Each call gets all records that were in the
    /// queue. The spans may point into the queue itself and are valid only until the function
    /// returns: then the service reuses the space.
    ///
    /// The function must not wait on a composite, and must not call setCallbackv or addTo of its
    /// own stream, which destroy what is in use. ICompositeStream::wake and addTo of another stream
    /// are allowed.
    ///
    /// An exception that the function throws leaves the wait. The batch stays in the queue; it is
    /// delivered again, and streams after this one are read, when the service signals them the next
    /// time or a wait reads every stream. A frame set, however, is not delivered again and never
    /// handed back: its buffers are lost, and after a few of them the service has none left. Data
    /// that arrives while no function is set has the same effect as a function that throws
    /// std::bad_function_call.
    virtual void setCallbackv(std::function<void(Batch)> callback) = 0;
};

}  // namespace Vek::Sensors
