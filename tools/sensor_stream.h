// One stream of one sensor: its sensor object, its measurement and, for a recording, its file.
#pragma once

#include <fmt/format.h>
#include <vek/sensors/stream.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "output_file.h"
#include "record_format.h"
#include "stream_statistics.h"

class SensorStream {
  public:
    explicit SensorStream(std::string name) : name_(std::move(name)) {}
    virtual ~SensorStream() = default;
    SensorStream(const SensorStream&) = delete;
    SensorStream& operator=(const SensorStream&) = delete;

    const std::string& name() const { return name_; }
    StreamStatistics& statistics() { return statistics_; }
    OutputFile* file() { return file_ ? &*file_ : nullptr; }

    virtual void addTo(Vek::Sensors::ICompositeStream& composite) = 0;
    virtual void start() = 0;
    virtual void stop() = 0;

    /// Writes all records from now on as CSV, behind the time of their callback (CLOCK_MONOTONIC,
    /// in ns). Throws Failure if the file cannot be made.
    virtual void recordTo(const std::filesystem::path& path) = 0;

    /// The values of the last record; empty if there is none.
    virtual std::string lastValues() const = 0;

  protected:
    std::string name_;
    StreamStatistics statistics_;
    std::optional<OutputFile> file_;
};

/// How a stream is started and stopped. The functions keep the object alive that the stream
/// belongs to.
struct StreamControl {
    std::function<void()> start;
    std::function<void()> stop;
};

/// Not movable: the stream's callback points to it.
template <typename Data>
class TypedSensorStream final : public SensorStream {
  public:
    /// @param queueSize capacity of the queue, in records; empty if the stream's own is fixed.
    TypedSensorStream(std::string name, Vek::Sensors::IDataStream<Data>& stream,
                      StreamControl control, std::optional<size_t> queueSize)
        : SensorStream(std::move(name)), control_(std::move(control)), stream_(stream) {
        if (queueSize) {
            stream_.setQueueSize(*queueSize);
        }
        stream_.setCallbackv(
            [this](gsl::span<const gsl::span<const Data>> spans) { deliver(spans); });
    }

    void addTo(Vek::Sensors::ICompositeStream& composite) override { stream_.addTo(composite); }
    void start() override { control_.start(); }
    void stop() override { control_.stop(); }

    void recordTo(const std::filesystem::path& path) override {
        file_.emplace(path);
        file_->write(fmt::format("received_ns,{}\n", RecordFormat<Data>::kCsvTitles));
    }

    std::string lastValues() const override {
        return last_ ? RecordFormat<Data>::describe(*last_) : "";
    }

  private:
    void deliver(gsl::span<const gsl::span<const Data>> spans) {
        const auto now = std::chrono::steady_clock::now();
        uint64_t records = 0;
        for (const auto& span : spans) {
            for (const Data& record : span) {
                deliver(now, record);
            }
            records += span.size();
        }
        statistics_.countCallback(now, records);
    }

    void deliver(RateMeter::Time now, const Data& record) {
        if (const auto header = RecordFormat<Data>::header(record)) {
            statistics_.countSample(now, *header);
        }
        if (file_) {
            row_.clear();
            fmt::format_to(std::back_inserter(row_), "{},",
                           std::chrono::nanoseconds(now.time_since_epoch()).count());
            RecordFormat<Data>::appendCsv(row_, record);
            row_.push_back('\n');
            file_->write({row_.data(), row_.size()});
        }
        last_ = record;
    }

    StreamControl control_;
    Vek::Sensors::IDataStream<Data>& stream_;
    std::optional<Data> last_;
    fmt::memory_buffer row_;
};

/// The stream of a sensor that has just this one.
template <typename Data, typename Sensor>
std::unique_ptr<SensorStream> makeSensorStream(std::string name, std::unique_ptr<Sensor> sensor,
                                               std::optional<size_t> queueSize) {
    const std::shared_ptr<Sensor> shared(std::move(sensor));
    return std::make_unique<TypedSensorStream<Data>>(
        std::move(name), shared->stream(),
        StreamControl{[shared] { shared->start(); }, [shared] { shared->stop(); }}, queueSize);
}
