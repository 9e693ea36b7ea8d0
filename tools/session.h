// A run over the chosen streams: opened, started, waited on together, stopped.
#pragma once

#include <vek/sensors/stream.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "expectation.h"
#include "receiver.h"
#include "sensor_stream.h"
#include "shutdown.h"
#include "stream_kinds.h"
#include "table.h"
#include "waiter.h"

/// All calls belong on one thread, which also receives the records, unless they are recorded.
class Session {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// Throws Failure if a chosen stream has no service or an option does not fit it.
    Session(const SessionOptions& wanted, Shutdown& shutdown);

    /// Stops the streams, unless that was done or the service is dead.
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// What a recording of the streams consists of. Asks the service.
    Recording::Plan plan();

    /// Gives the records to a recording of that plan; the streams are then received on threads of
    /// their own, and may be more than one composite takes.
    void recordTo(Recording::Recorder& recorder);

    /// Of the recorded streams. Only after finish().
    std::vector<Recording::StreamEnd> ends() const;
    /// Of all recorded streams.
    uint64_t drops() const;

    /// Prints the records of the one stream until the printer has enough of them. Throws Failure if
    /// there are several streams, or they lack a field that is asked for.
    void printTo(RecordPrinter& printer);

    void start();

    /// Receives records until `deadline` or the end of the run, whichever is first. How long a
    /// recording is the time stamps say, so that it holds the same when the service's time is not
    /// the machine's; it ends at the machine's time when they do not go on.
    /// @return whether the run goes on.
    bool receiveUntil(Time deadline);

    /// Stops the streams and receives what is left of them.
    void finish();

    /// The streams since the last restartIntervals().
    Table intervalTable() const;
    void restartIntervals();

    /// The streams over the whole run, and how long it was. Only after finish().
    Table summary() const;
    double seconds() const;
    std::vector<Verdict> judge(const std::vector<Expectation>& expectations) const;

  private:
    void addStreams();
    std::chrono::nanoseconds longestSpan() const;
    bool isOver();
    void stop();

    Shutdown& shutdown_;
    std::optional<double> durationSeconds_;
    Waiter waiter_;
    std::vector<std::unique_ptr<SensorStream>> streams_;
    const RecordPrinter* printer_ = nullptr;
    bool isRecorded_ = false;
    /// Of a recording.
    std::vector<std::unique_ptr<Receiver>> receivers_;
    bool isStarted_ = false;
    Time begin_{};
    Time end_ = Time::max();
    Time measuredUntil_{};
    // Of a recording, when it was looked for its end.
    std::chrono::nanoseconds span_{0};
    Time lastGrowth_{};
};
