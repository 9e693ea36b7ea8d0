// Opens streams through the public factories and drives them.
#include "session.h"

#include <vek/sensors/factories.h>

#include <algorithm>
#include <iterator>
#include <system_error>

#include "failure.h"
#include "measurement_table.h"

using namespace Vek::Sensors;

namespace {

/// With the streams that the user did not name.
SessionOptions completed(SessionOptions options) {
    auto& streams = options.streams;
    if (streams.empty() && !options.controller.empty()) {
        streams.emplace_back("controllers");
    }
    if (streams.empty() && !options.camera.empty()) {
        streams.emplace_back("cameras");
    }
    if (streams.empty()) {
        streams = {"imu", "mag", "iad"};
    }
    return options;
}

/// Throws Failure if no stream belongs to the area that an option is about.
void requireStreamOf(const std::string& area, const char* option,
                     const std::vector<std::string>& streams) {
    const auto isOfArea = [&area](const std::string& name) { return name.rfind(area, 0) == 0; };
    if (std::none_of(streams.begin(), streams.end(), isOfArea)) {
        throw Failure(ExitCode::USAGE, fmt::format("{} is for the {} streams", option, area));
    }
}

}  // namespace

Session::Session(const SessionOptions& wanted, Shutdown& shutdown)
    : shutdown_(shutdown), durationSeconds_(wanted.durationSeconds), waiter_(shutdown) {
    const SessionOptions options = completed(wanted);
    if (options.imu.sampleRate != 0 || options.imu.batchSize != 0) {
        requireStreamOf("imu", "--rate and --batch", options.streams);
    }
    if (!options.controller.empty()) {
        requireStreamOf("controller", "--controller", options.streams);
    }
    if (!options.camera.empty()) {
        requireStreamOf("camera", "--camera", options.streams);
    }
    const auto isChosen = [&options](const std::string& name) {
        return std::find(options.streams.begin(), options.streams.end(), name) !=
               options.streams.end();
    };
    for (const StreamKind& kind : streamKinds()) {
        if (isChosen(kind.name)) {
            auto streams = kind.open(options);
            for (const auto& stream : streams) {
                stream->setKind(kind.name);
            }
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

void Session::printTo(RecordPrinter& printer) {
    if (streams_.size() != 1) {
        throw Failure(ExitCode::USAGE,
                      fmt::format("{} streams cannot be printed at once", streams_.size()));
    }
    streams_.front()->printTo(printer);
    printer_ = &printer;
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
    const auto isPrinted = [this] { return printer_ != nullptr && printer_->isDone(); };
    const auto checkFiles = [&] {
        for (const auto& stream : streams_) {
            if (const OutputFile* file = stream->file()) {
                file->check();
            }
        }
        return isPrinted();
    };
    return waiter_.until(checkFiles, std::min(deadline, end_)) && !isPrinted() &&
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

Table Session::intervalTable() const {
    return measurementTable(streams_, &SourceStatistics::interval,
                            std::chrono::steady_clock::now());
}

void Session::restartIntervals() {
    for (const auto& stream : streams_) {
        stream->statistics().restartInterval();
    }
}

Table Session::summary() const {
    // What the streams did not send since they were stopped is no gap.
    return measurementTable(streams_, &SourceStatistics::total, measuredUntil_);
}

std::vector<Verdict> Session::judge(const std::vector<Expectation>& expectations) const {
    return ::judge(expectations, streams_, measuredUntil_);
}

double Session::seconds() const {
    return std::chrono::duration<double>(measuredUntil_ - begin_).count();
}
