// Reads all of a recording, to report its content and its damage.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "drop_counter.h"
#include "interval_statistics.h"
#include "latency_histogram.h"
#include "recording/reader.h"

/// The times in a row of a stream.
struct RowTime {
    /// When the sample was taken; in a stream without time stamps, when it was received.
    int64_t timestamp = 0;
    /// Empty in a EuRoC data set of another program.
    std::optional<int64_t> received;
    /// The device of the row, in a stream that carries several; otherwise empty.
    std::string source;
    std::optional<uint32_t> sequence;
};

/// Reads RowTime from the rows of any stream.
class RowTimes {
  public:
    explicit RowTimes(const Recording::CsvReader& csv);

    /// Whether samples have time stamps, which must be unique for each source.
    bool isStamped() const { return timestamp_ >= 0; }

    /// Throws Recording::Error if the row has no such numbers.
    RowTime read(const Recording::CsvReader& csv) const;

  private:
    int timestamp_;
    int received_;
    int source_ = -1;
    int sequence_;
};

struct StreamReport {
    std::string name;
    uint64_t records = 0;
    /// Dropped records, from gaps in the sequence numbers; empty if there are no numbers.
    std::optional<uint64_t> drops;
    uint64_t frameSetsLeftOut = 0;
    int64_t first = 0;
    int64_t last = 0;
    /// Records per second of all sources together.
    double rate = 0;
    /// Intervals between records of the same source.
    IntervalStatistics intervals;
    /// From the sample to its reception.
    LatencyHistogram latencies;
    uintmax_t bytes = 0;
};

struct CameraReport {
    std::string directory;
    std::string name;
    uint64_t images = 0;
    int64_t first = 0;
    int64_t last = 0;
    double rate = 0;
    IntervalStatistics intervals;
    uint32_t width = 0;
    uint32_t height = 0;
    bool isCalibrated = false;
    uintmax_t bytes = 0;
};

struct RecordingReport {
    std::vector<StreamReport> streams;
    std::vector<CameraReport> cameras;
    /// "FILE:LINE: message"; only the first ones, the others are counted.
    std::vector<std::string> problems;
    uint64_t problemsLeftOut = 0;
    /// From the first sample to the last.
    double seconds = 0;
    uintmax_t bytes = 0;

    bool isSound() const { return problems.empty(); }
};

/// @param isThorough whether to decode every image, too.
RecordingReport inspect(const Recording::Reader& recording, bool isThorough);
