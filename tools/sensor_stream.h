// One stream of one sensor: its sensor object, its measurement and the recording of its records.
#pragma once

#include <fmt/format.h>
#include <vek/sensors/stream.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "record_origin.h"
#include "record_printer.h"
#include "recording/fields.h"
#include "recording/recorder.h"
#include "stream_statistics.h"

class SensorStream {
  public:
    explicit SensorStream(std::string name) : name_(std::move(name)) {}
    virtual ~SensorStream() = default;
    SensorStream(const SensorStream&) = delete;
    SensorStream& operator=(const SensorStream&) = delete;

    const std::string& name() const { return name_; }
    StreamStatistics& statistics() { return statistics_; }
    const StreamStatistics& statistics() const { return statistics_; }

    /// The name by which the user chose it: its own, or that of a group.
    const std::string& kind() const { return kind_; }
    void setKind(const std::string& kind) { kind_ = kind; }

    virtual void addTo(Vek::Sensors::ICompositeStream& composite) = 0;
    virtual void start() = 0;
    virtual void stop() = 0;

    /// Titles of the stream's columns in a recording.
    virtual std::string titles() const = 0;

    /// The cameras whose images belong to the stream; their directories are still empty. Calls the
    /// service.
    virtual std::vector<Recording::CameraInfo> cameras() { return {}; }

    /// From now on, adds all records to a recording, each after the time of its callback
    /// (CLOCK_MONOTONIC, in ns).
    /// @param number, firstCamera indices of the stream and of its first camera in the recording's
    /// plan.
    virtual void recordTo(Recording::Recorder& recorder, size_t number, size_t firstCamera) = 0;

    /// Limits the recording: ignores records `span` or more after the first one.
    void limitTo(std::chrono::nanoseconds span) { mostSpan_ = span; }

    // The next two may be called from any thread while the stream is recorded.

    uint64_t drops() const { return drops_; }
    /// Time from the first record's time stamp to the last one's, including records beyond the
    /// limit; 0 if records have no time stamps.
    std::chrono::nanoseconds span() const { return std::chrono::nanoseconds{span_}; }

    /// From now on, prints all records. Throws Failure if they lack a requested field.
    virtual void printTo(RecordPrinter& printer) = 0;

    /// The values of the last record of a source; empty if there is none.
    virtual std::string lastValues(uint64_t source) const = 0;

  protected:
    std::string name_;
    std::string kind_;
    StreamStatistics statistics_;
    std::atomic<uint64_t> drops_{0};

    /// @return whether a record of that time is within the limit
    bool isWithinSpan(int64_t timestamp) {
        firstTimestamp_ = firstTimestamp_.value_or(timestamp);
        span_ = std::max(span_.load(), timestamp - *firstTimestamp_);
        return std::chrono::nanoseconds{timestamp - *firstTimestamp_} < mostSpan_;
    }

  private:
    std::optional<int64_t> firstTimestamp_;
    std::chrono::nanoseconds mostSpan_ = std::chrono::nanoseconds::max();
    std::atomic<int64_t> span_{0};
};

/// Functions that start and stop a stream. They keep the stream's sensor object alive.
struct StreamControl {
    std::function<void()> start;
    std::function<void()> stop;
};

/// Not movable: the stream's callback points to it.
template <typename Data>
class TypedSensorStream : public SensorStream {
  public:
    /// Returns the origin of a record; empty to ignore the record.
    using Origin = std::function<std::optional<RecordOrigin>(const Data& record)>;

    /// @param queueSize capacity of the queue, in records; empty if the stream's capacity is fixed.
    TypedSensorStream(std::string name, Vek::Sensors::IDataStream<Data>& stream,
                      StreamControl control, std::optional<size_t> queueSize, Origin origin)
        : SensorStream(std::move(name)),
          control_(std::move(control)),
          stream_(stream),
          origin_(std::move(origin)) {
        if (queueSize) {
            stream_.setQueueSize(*queueSize);
        }
        stream_.setCallbackv(
            [this](typename Vek::Sensors::IDataStream<Data>::Batch spans) { deliver(spans); });
    }

    void addTo(Vek::Sensors::ICompositeStream& composite) override { stream_.addTo(composite); }
    void start() override { control_.start(); }
    void stop() override { control_.stop(); }

    std::string titles() const override { return Recording::fieldsOf<Data>().titles(); }

    void recordTo(Recording::Recorder& recorder, size_t number, size_t /*firstCamera*/) override {
        recorder_ = &recorder;
        number_ = number;
    }

    void printTo(RecordPrinter& printer) override {
        std::vector<std::string> columns;
        for (const auto& column : Recording::fieldsOf<Data>().columns()) {
            columns.push_back(column.name);
        }
        printer.begin(columns);
        printer_ = &printer;
    }

    std::string lastValues(uint64_t source) const override {
        const auto last = last_.find(source);
        return last != last_.end() ? Recording::fieldsOf<Data>().describe(last->second) : "";
    }

  protected:
    /// Adds a record and its row to the recording.
    virtual void keep(const Data& /*record*/, std::string_view row) {
        rows_ += row;
        ++rowCount_;
    }

    Recording::Recorder& recorder() { return *recorder_; }
    size_t number() const { return number_; }

  private:
    void deliver(typename Vek::Sensors::IDataStream<Data>::Batch spans) {
        const auto now = std::chrono::steady_clock::now();
        for (const auto& span : spans) {
            for (const Data& record : span) {
                deliver(now, record);
            }
        }
        statistics_.endCallback(now);
        if (printer_ != nullptr) {
            printer_->flush();
        }
        if (recorder_ != nullptr) {
            recorder_->add(number_, rows_, rowCount_);
            rows_.clear();
            rowCount_ = 0;
            drops_ = statistics_.drops();
        }
    }

    void deliver(RateMeter::Time now, const Data& record) {
        const std::optional<RecordOrigin> origin = origin_(record);
        if (!origin || (origin->timestamp && !isWithinSpan(*origin->timestamp))) {
            return;
        }
        const uint64_t source = statistics_.countRecord(now, *origin, sizeof(record));
        const int64_t received = std::chrono::nanoseconds(now.time_since_epoch()).count();
        if (printer_ != nullptr) {
            printer_->print(received, record);
        }
        if (recorder_ != nullptr) {
            row_.clear();
            fmt::format_to(std::back_inserter(row_), "{},", received);
            Recording::fieldsOf<Data>().appendRow(row_, record);
            row_.push_back('\n');
            keep(record, {row_.data(), row_.size()});
        }
        last_[source] = record;
    }

    StreamControl control_;
    Vek::Sensors::IDataStream<Data>& stream_;
    const Origin origin_;
    /// The last record of each source.
    std::map<uint64_t, Data> last_;
    fmt::memory_buffer row_;
    RecordPrinter* printer_ = nullptr;
    Recording::Recorder* recorder_ = nullptr;
    size_t number_ = 0;
    /// Rows of the current callback.
    std::string rows_;
    size_t rowCount_ = 0;
};
