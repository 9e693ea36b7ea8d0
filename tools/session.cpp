// Opens streams through the public factories and drives them.
#include "session.h"

#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>

#include "failure.h"
#include "measurement_table.h"

using namespace Vek::Sensors;

namespace {

bool isAll(const SessionOptions& options) {
    return std::find(options.streams.begin(), options.streams.end(), kAllStreams) !=
           options.streams.end();
}

/// Opens the streams of one chosen kind. Throws Failure if there are none, unless the user chose
/// "all".
std::vector<std::unique_ptr<SensorStream>> open(const StreamKind& kind,
                                                const SessionOptions& options) {
    try {
        return kind.open(options);
    } catch (const Failure& failure) {
        if (isAll(options) && failure.exitCode() == ExitCode::NO_SERVICE) {
            return {};
        }
        throw;
    }
}

/// Adds the streams that the user did not name: the default ones, or the members of "all".
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
    if (isAll(options)) {
        for (const StreamKind& kind : streamKinds()) {
            if (!kind.isInGroup) {
                streams.push_back(kind.name);
            }
        }
    }
    return options;
}

/// After this time, all records of an instant have arrived; frame sets take the longest.
constexpr std::chrono::milliseconds kLatestRecord{100};
/// If no records arrive for this long, a recording ends even if the service runs slower than real
/// time.
constexpr std::chrono::seconds kStandstill{2};

bool isOfCamera(const SensorStream& stream) {
    return stream.name().rfind("camera", 0) == 0;
}

/// Throws Failure if no chosen stream belongs to the area of an option.
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
            auto streams = open(kind, options);
            for (const auto& stream : streams) {
                stream->setKind(kind.name);
            }
            std::move(streams.begin(), streams.end(), std::back_inserter(streams_));
        }
    }
}

Session::~Session() {
    stop();
}

Recording::Plan Session::plan() {
    Recording::Plan plan;
    plan.program = fmt::format("sensorctl {}", MORIAK_VERSION);
    for (const auto& stream : streams_) {
        plan.streams.push_back({stream->name(), stream->titles()});
        for (Recording::CameraInfo& camera : stream->cameras()) {
            camera.directory = fmt::format("cam{}", plan.cameras.size());
            plan.cameras.push_back(std::move(camera));
        }
    }
    return plan;
}

void Session::recordTo(Recording::Recorder& recorder) {
    const auto& cameras = recorder.plan().cameras;
    for (size_t i = 0; i < streams_.size(); ++i) {
        const auto first = std::find_if(cameras.begin(), cameras.end(), [&](const auto& camera) {
            return camera.stream == streams_[i]->name();
        });
        streams_[i]->recordTo(recorder, i, static_cast<size_t>(first - cameras.begin()));
        if (durationSeconds_) {
            streams_[i]->limitTo(durationOf(*durationSeconds_));
        }
    }
    isRecorded_ = true;
}

std::vector<Recording::StreamEnd> Session::ends() const {
    std::vector<Recording::StreamEnd> ends;
    for (const auto& stream : streams_) {
        ends.push_back({stream->drops(), 0});
    }
    return ends;
}

uint64_t Session::drops() const {
    uint64_t drops = 0;
    for (const auto& stream : streams_) {
        drops += stream->drops();
    }
    return drops;
}

void Session::printTo(RecordPrinter& printer) {
    if (streams_.size() != 1) {
        throw Failure(ExitCode::USAGE,
                      fmt::format("{} streams cannot be printed at once", streams_.size()));
    }
    streams_.front()->printTo(printer);
    printer_ = &printer;
}

void Session::addStreams() {
    if (!isRecorded_ && streams_.size() > Receiver::kMostStreams) {
        throw Failure(ExitCode::USAGE, fmt::format("{} streams are more than the {} of one run",
                                                   streams_.size(), Receiver::kMostStreams));
    }
    // Streams with images get a separate thread, because copying images would delay samples.
    std::array<Receiver*, 2> free{};
    for (const auto& stream : streams_) {
        if (!isRecorded_) {
            stream->addTo(*waiter_.composite());
            continue;
        }
        Receiver*& receiver = free[isOfCamera(*stream) ? 1 : 0];
        if (receiver == nullptr || receiver->isFull()) {
            receiver = receivers_.emplace_back(std::make_unique<Receiver>()).get();
        }
        receiver->add(*stream);
    }
}

void Session::start() {
    addStreams();
    for (const auto& receiver : receivers_) {
        receiver->start();
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

std::chrono::nanoseconds Session::longestSpan() const {
    std::chrono::nanoseconds longest{0};
    for (const auto& stream : streams_) {
        longest = std::max(longest, stream->span());
    }
    return longest;
}

bool Session::isOver() {
    const Time now = std::chrono::steady_clock::now();
    if (!isRecorded_ || !durationSeconds_) {
        return now >= end_;
    }
    if (const std::chrono::nanoseconds span = longestSpan(); span > span_) {
        span_ = span;
        lastGrowth_ = now;
    }
    return span_ >= durationOf(*durationSeconds_) + kLatestRecord ||
           now >= std::max(end_, lastGrowth_ + kStandstill);
}

bool Session::receiveUntil(Time deadline) {
    const auto isPrinted = [this] { return printer_ != nullptr && printer_->isDone(); };
    // Checks regularly whether the recording is complete, because its records arrive on other
    // threads.
    constexpr std::chrono::milliseconds kLook{100};
    do {
        const Time look =
            isRecorded_ ? std::chrono::steady_clock::now() + kLook : std::min(deadline, end_);
        if (!waiter_.until(isPrinted, std::min(deadline, look)) || isPrinted() || isOver()) {
            return false;
        }
    } while (std::chrono::steady_clock::now() < deadline);
    return true;
}

void Session::stop() {
    if (!isStarted_) {
        return;
    }
    isStarted_ = false;
    measuredUntil_ = std::chrono::steady_clock::now();
    for (const auto& stream : streams_) {
        // Checked before each call: a call to a dead service would not return.
        if (!shutdown_.isServiceDead()) {
            stream->stop();
        }
    }
}

void Session::finish() {
    stop();
    if (isRecorded_) {
        for (const auto& receiver : receivers_) {
            receiver->finish();
        }
    } else {
        waiter_.composite()->waitFor(std::chrono::nanoseconds::zero());
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
    // Measures only until the streams were stopped, so that the time since then does not count as a
    // gap.
    return measurementTable(streams_, &SourceStatistics::total, measuredUntil_);
}

std::vector<Verdict> Session::judge(const std::vector<Expectation>& expectations) const {
    return ::judge(expectations, streams_, measuredUntil_);
}

double Session::seconds() const {
    return std::chrono::duration<double>(measuredUntil_ - begin_).count();
}
