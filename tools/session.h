// A run of the chosen streams: opens and starts them, waits for them together, stops them.
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

/// Threading: one thread, which also receives the records unless they are recorded.
class Session {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// Throws Failure if a chosen stream has no service or an option does not fit it.
    Session(const SessionOptions& wanted, Shutdown& shutdown);

    /// Stops the streams if they run and the service is alive.
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// The plan for a recording of the streams. Calls the service.
    Recording::Plan plan();

    /// Adds all records to a recording with that plan. The streams are then received on separate
    /// threads, and may be more than one composite can hold.
    void recordTo(Recording::Recorder& recorder);

    /// Drops of each recorded stream. Only after finish().
    std::vector<Recording::StreamEnd> ends() const;
    /// Sum of the drops of all recorded streams.
    uint64_t drops() const;

    /// Prints the records of the session's only stream, until the printer has enough. Throws
    /// Failure if there are several streams, or a requested field does not exist.
    void printTo(RecordPrinter& printer);

    void start();

    /// Receives records until `deadline` or the end of the run, whichever comes first. The length
    /// of a recording is measured by time stamps, so that it is right even if the service does not
    /// run in real time. If time stamps stop advancing, it ends by the machine's time.
    /// @return false if the run has ended.
    bool receiveUntil(Time deadline);

    /// Stops the streams and receives their remaining records.
    void finish();

    /// Measurements since the last restartIntervals().
    Table intervalTable() const;
    void restartIntervals();

    /// Measurements of the whole run, and its duration. Only after finish().
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
    /// The threads of a recording.
    std::vector<std::unique_ptr<Receiver>> receivers_;
    bool isStarted_ = false;
    Time begin_{};
    Time end_ = Time::max();
    Time measuredUntil_{};
    // For the end of a recording: the time span at the last check, and when it last grew.
    std::chrono::nanoseconds span_{0};
    Time lastGrowth_{};
};
