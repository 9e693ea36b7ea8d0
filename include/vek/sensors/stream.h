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

/// What a wait on a composite stream came to.
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
/// Streams are added with IDataStream::addTo and never removed: a composite must not be waited on
/// after one of its streams was destroyed. Every wait reads each stream whose data is ready once,
/// in the order in which the streams were added, and calls its callback on the waiting thread.
///
/// Threading: the waits and addTo are for one thread at a time; wake() is for any thread.
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

    /// @param name labels the shared memory of the composite, for debugging.
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
    virtual ~IDataStream() = default;

    /// Creates the queue, takes the composite's next place and hands the queue to the service.
    /// The composite must come from IStreamCompositor. Ends the process if the composite is full,
    /// or if the service refuses.
    virtual void addTo(ICompositeStream& composite) = 0;

    /// Sets the capacity of the queue, in records. Ends the process once addTo was called.
    virtual void setQueueSize(size_t messages) = 0;

    /// The capacity of the queue, in records; 32 unless set.
    virtual size_t getQueueSize() = 0;

    /// Sets the function that receives the records. Each call of it gets all records that were in
    /// the queue, oldest first, in two spans of which the second is often empty. The spans may
    /// point into the queue itself and hold only until the function returns. Data that arrives
    /// while no function is set makes the wait throw std::bad_function_call.
    virtual void setCallbackv(
        std::function<void(gsl::span<const gsl::span<const Data>>)> callback) = 0;
};

}  // namespace Vek::Sensors
