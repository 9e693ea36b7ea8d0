// A run over the chosen streams: opened, started, waited on together, stopped.
#pragma once

#include <vek/sensors/stream.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "expectation.h"
#include "sensor_stream.h"
#include "shutdown.h"
#include "stream_kinds.h"
#include "table.h"
#include "waiter.h"

/// All calls belong on one thread, which also receives the records.
class Session {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// Throws Failure if a chosen stream has no service or an option does not fit it.
    Session(const SessionOptions& wanted, Shutdown& shutdown);

    /// Stops the streams, unless that was done or the service is dead.
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Records each stream to a file of its name in `directory`, which is made if need be. Throws
    /// Failure if that does not work.
    void recordTo(const std::filesystem::path& directory);

    /// Prints the records of the one stream until the printer has enough of them. Throws Failure if
    /// there are several streams, or they lack a field that is asked for.
    void printTo(RecordPrinter& printer);

    void start();

    /// Receives records until `deadline` or the end of the run, whichever is first. Throws Failure
    /// when a recording cannot be written.
    /// @return whether the run goes on.
    bool receiveUntil(Time deadline);

    /// Stops the streams, receives what is left of them, closes the files. Throws Failure when a
    /// recording cannot be written.
    void finish();

    /// The streams since the last restartIntervals().
    Table intervalTable() const;
    void restartIntervals();

    /// The streams over the whole run, and how long it was. Only after finish().
    Table summary() const;
    double seconds() const;
    std::vector<Verdict> judge(const std::vector<Expectation>& expectations) const;

  private:
    void stop();

    Shutdown& shutdown_;
    std::optional<double> durationSeconds_;
    Waiter waiter_;
    std::vector<std::unique_ptr<SensorStream>> streams_;
    const RecordPrinter* printer_ = nullptr;
    bool isStarted_ = false;
    Time begin_{};
    Time end_ = Time::max();
    Time measuredUntil_{};
};
