// Opens streams through the public factories and drives them.
#include "session.h"

#include <vek/sensors/factories.h>

#include <algorithm>
#include <iterator>
#include <system_error>

#include "failure.h"
#include "table.h"

using namespace Vek::Sensors;

namespace {

std::string microseconds(std::optional<std::chrono::nanoseconds> latency) {
    return latency ? fmt::format("{}", (latency->count() + 500) / 1000) : "-";
}

std::string milliseconds(std::optional<std::chrono::nanoseconds> time) {
    return time ? fmt::format("{:.1f}", static_cast<double>(time->count()) * 1e-6) : "-";
}

using Measurement = const StreamMeasurement& (StreamStatistics::*)() const;

Table measurementTable(const std::vector<std::unique_ptr<SensorStream>>& streams,
                       Measurement choose, Session::Time now) {
    Table table({{"stream", Table::Align::LEFT},
                 {"records", Table::Align::RIGHT},
                 {"rate Hz", Table::Align::RIGHT},
                 {"batch", Table::Align::RIGHT},
                 {"gap ms", Table::Align::RIGHT},
                 {"p50 us", Table::Align::RIGHT},
                 {"p99 us", Table::Align::RIGHT},
                 {"drops", Table::Align::RIGHT},
                 {"last values", Table::Align::LEFT}});
    for (const auto& stream : streams) {
        const StreamStatistics& statistics = stream->statistics();
        const StreamMeasurement& measurement = (statistics.*choose)();
        const bool isNumbered = statistics.total().latencies.count() > 0;
        table.addRow({stream->name(), fmt::format("{}", measurement.records),
                      fmt::format("{:.1f}", measurement.rate.perSecond(now)),
                      fmt::format("{:.1f}", measurement.batch()),
                      milliseconds(measurement.rate.largestGap(now)),
                      microseconds(measurement.latencies.percentile(0.50)),
                      microseconds(measurement.latencies.percentile(0.99)),
                      isNumbered ? fmt::format("{}", measurement.drops) : "-",
                      stream->lastValues()});
    }
    return table;
}

}  // namespace

Session::Session(const SessionOptions& options, Shutdown& shutdown)
    : shutdown_(shutdown), durationSeconds_(options.durationSeconds), waiter_(shutdown) {
    const auto isChosen = [&options](const std::string& name) {
        return std::find(options.streams.begin(), options.streams.end(), name) !=
               options.streams.end();
    };
    const bool isImuConfigured = options.imu.sampleRate != 0 || options.imu.batchSize != 0;
    if (isImuConfigured && !isChosen("imu")) {
        throw Failure(ExitCode::USAGE, "--rate and --batch are for the imu stream");
    }
    for (const StreamKind& kind : streamKinds()) {
        if (isChosen(kind.name)) {
            auto streams = kind.open(options);
            std::move(streams.begin(), streams.end(), std::back_inserter(streams_));
        }
    }
    // More would not fit into one composite stream.
    constexpr size_t kMaxStreams = 15;
    if (streams_.size() > kMaxStreams) {
        throw Failure(ExitCode::USAGE, fmt::format("{} streams are more than the {} of one run",
                                                   streams_.size(), kMaxStreams));
    }
}

Session::~Session() {
    stop();
}

void Session::recordTo(const std::filesystem::path& directory) {
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error) {
        throw Failure(ExitCode::FAILED, fmt::format("cannot make directory {}: {}",
                                                    directory.string(), error.message()));
    }
    for (const auto& stream : streams_) {
        stream->recordTo(directory / (stream->name() + ".csv"));
    }
}

void Session::start() {
    for (const auto& stream : streams_) {
        stream->addTo(*waiter_.composite());
    }
    isStarted_ = true;
    begin_ = std::chrono::steady_clock::now();
    for (const auto& stream : streams_) {
        stream->start();
    }
    if (durationSeconds_) {
        end_ = begin_ + durationOf(*durationSeconds_);
    }
}

bool Session::receiveUntil(Time deadline) {
    const auto checkFiles = [this] {
        for (const auto& stream : streams_) {
            if (const OutputFile* file = stream->file()) {
                file->check();
            }
        }
        return false;
    };
    return waiter_.until(checkFiles, std::min(deadline, end_)) &&
           std::chrono::steady_clock::now() < end_;
}

void Session::stop() {
    if (!isStarted_) {
        return;
    }
    isStarted_ = false;
    measuredUntil_ = std::chrono::steady_clock::now();
    for (const auto& stream : streams_) {
        // Asked before each call: one to a dead service would not return.
        if (!shutdown_.isServiceDead()) {
            stream->stop();
        }
    }
}

void Session::finish() {
    stop();
    waiter_.composite()->waitFor(std::chrono::nanoseconds::zero());
    for (const auto& stream : streams_) {
        if (OutputFile* file = stream->file()) {
            file->close();
        }
    }
}

std::vector<std::string> Session::intervalTable() const {
    return measurementTable(streams_, &StreamStatistics::interval, std::chrono::steady_clock::now())
        .lines();
}

void Session::restartIntervals() {
    for (const auto& stream : streams_) {
        stream->statistics().restartInterval();
    }
}

std::vector<std::string> Session::summary() const {
    // What the stream did not send since it was stopped is no gap.
    const std::chrono::duration<double> elapsed = measuredUntil_ - begin_;
    auto lines = measurementTable(streams_, &StreamStatistics::total, measuredUntil_).lines();
    lines.insert(lines.begin(), fmt::format("summary of {:.1f} s", elapsed.count()));
    return lines;
}
