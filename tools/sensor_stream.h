// One stream of one sensor: its sensor object, its measurement and, for a recording, its file.
#pragma once

#include <fmt/format.h>
#include <vek/sensors/motion.h>

#include <chrono>
#include <cstddef>
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

    /// Writes all records from now on as CSV. Throws Failure if the file cannot be made.
    virtual void recordTo(const std::filesystem::path& path) = 0;

    /// The values of the last record; empty if there is none.
    virtual std::string lastValues() const = 0;

  protected:
    std::string name_;
    StreamStatistics statistics_;
    std::optional<OutputFile> file_;
};

/// Not movable: the stream's callback points to it.
template <typename Sensor, typename Data>
class TypedSensorStream final : public SensorStream {
  public:
    /// @param queueSize capacity of the queue, in records.
    TypedSensorStream(std::string name, std::unique_ptr<Sensor> sensor, size_t queueSize)
        : SensorStream(std::move(name)), sensor_(std::move(sensor)) {
        sensor_->stream().setQueueSize(queueSize);
        sensor_->stream().setCallbackv(
            [this](gsl::span<const gsl::span<const Data>> spans) { deliver(spans); });
    }

    void addTo(Vek::Sensors::ICompositeStream& composite) override {
        sensor_->stream().addTo(composite);
    }
    void start() override { sensor_->start(); }
    void stop() override { sensor_->stop(); }

    void recordTo(const std::filesystem::path& path) override {
        file_.emplace(path);
        file_->write(fmt::format("{}\n", kCsvTitles<Data>));
    }

    std::string lastValues() const override { return last_ ? describe(*last_) : ""; }

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
        if (const auto header = headerOf(record)) {
            statistics_.countSample(now, *header);
        }
        if (file_) {
            row_.clear();
            appendCsv(row_, std::chrono::nanoseconds(now.time_since_epoch()).count(), record);
            file_->write({row_.data(), row_.size()});
        }
        last_ = record;
    }

    std::unique_ptr<Sensor> sensor_;
    std::optional<Data> last_;
    fmt::memory_buffer row_;
};
