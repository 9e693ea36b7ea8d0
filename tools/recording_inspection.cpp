// Reads everything once. A file that cannot be read is reported as a problem of the recording.
#include "recording_inspection.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <system_error>

#include "recording/layout.h"

namespace {

using Recording::CsvReader;
using Recording::Reader;

class Inspector {
  public:
    Inspector(const Reader& recording, bool isThorough)
        : recording_(recording), isThorough_(isThorough) {}

    RecordingReport inspect() {
        for (const Recording::StreamInfo& stream : recording_.streams()) {
            report_.streams.push_back(inspectStream(stream));
        }
        for (const Recording::CameraInfo& camera : recording_.cameras()) {
            report_.cameras.push_back(inspectCamera(camera));
        }
        guard([this] {
            if (auto groundTruth = recording_.groundTruth()) {
                std::optional<int64_t> last;
                while (groundTruth->next()) {
                    requireLater(*groundTruth, groundTruth->number<int64_t>(0), last);
                }
            }
        });
        summarise();
        return std::move(report_);
    }

  private:
    void addProblem(const std::string& problem) {
        constexpr size_t kMostProblems = 50;
        if (report_.problems.size() < kMostProblems) {
            report_.problems.push_back(problem);
        } else {
            ++report_.problemsLeftOut;
        }
    }

    template <typename Action>
    void guard(const Action& action) {
        try {
            action();
        } catch (const Recording::Error& error) {
            addProblem(error.what());
        }
    }

    /// Checks that time stamps of one source increase.
    void requireLater(const CsvReader& csv, int64_t timestamp, std::optional<int64_t>& last) {
        if (last && timestamp <= *last) {
            const char* const what = timestamp == *last ? "the time of" : "before";
            addProblem(
                csv.error(fmt::format("{} ns is {} the row before", timestamp, what)).what());
        }
        last = timestamp;
    }

    /// A file may end in the middle of a line only if the recording was cut off.
    void requireEnd(const CsvReader& csv) {
        if (csv.isCutOff() && !recording_.isCutOff()) {
            addProblem(csv.error("ends in the middle of a line").what());
        }
    }

    static uintmax_t sizeOf(const std::filesystem::path& file) {
        std::error_code error;
        const uintmax_t size = std::filesystem::file_size(file, error);
        return error ? 0 : size;
    }

    StreamReport inspectStream(const Recording::StreamInfo& stream) {
        StreamReport report;
        report.name = stream.name;
        report.bytes = sizeOf(stream.file);
        report.frameSetsLeftOut = stream.frameSetsLeftOut;
        guard([&] { readRows(stream, report); });
        return report;
    }

    void readRows(const Recording::StreamInfo& stream, StreamReport& report) {
        struct Source {
            DropCounter drops;
            std::optional<int64_t> last;
        };
        // More than any real device has; a broken file must not exhaust memory with invented
        // sources.
        constexpr size_t kMostSources = 1000;
        std::map<std::string, Source> sources;
        CsvReader csv = recording_.open(stream);
        const RowTimes times(csv);
        while (csv.next()) {
            const RowTime time = times.read(csv);
            Source& source = sources[sources.size() < kMostSources ? time.source : ""];
            if (source.last && time.timestamp > *source.last) {
                report.intervals.add(std::chrono::nanoseconds(time.timestamp - *source.last));
            }
            if (times.isStamped()) {
                requireLater(csv, time.timestamp, source.last);
            }
            source.last = time.timestamp;
            if (time.sequence) {
                report.drops = report.drops.value_or(0) + source.drops.next(*time.sequence, false);
            }
            if (time.received && times.isStamped()) {
                report.latencies.add(std::chrono::nanoseconds(
                    std::max<int64_t>(0, *time.received - time.timestamp)));
            }
            report.first = report.records == 0 ? time.timestamp : report.first;
            report.last = std::max(report.last, time.timestamp);
            ++report.records;
        }
        requireEnd(csv);
        report.rate = rateOf(report.records, report.first, report.last);
    }

    CameraReport inspectCamera(const Recording::CameraInfo& camera) {
        CameraReport report;
        report.directory = camera.directory;
        report.name = camera.name;
        report.isCalibrated = camera.calibration.has_value();
        guard([&] {
            std::optional<int64_t> last;
            Recording::ImageCursor images = recording_.images(camera);
            while (images.next()) {
                if (last && images.timestamp() > *last) {
                    report.intervals.add(std::chrono::nanoseconds(images.timestamp() - *last));
                }
                requireLater(images.csv(), images.timestamp(), last);
                report.first = report.images == 0 ? *last : report.first;
                report.last = *last;
                inspectImage(images, report);
                ++report.images;
            }
            requireEnd(images.csv());
            report.rate = rateOf(report.images, report.first, report.last);
        });
        return report;
    }

    void inspectImage(const Recording::ImageCursor& images, CameraReport& report) {
        const uintmax_t size = sizeOf(images.file());
        report.bytes += size;
        if (size == 0) {
            addProblem(images.csv().error(images.file().string() + " is missing or empty").what());
            return;
        }
        if (!isThorough_ && report.images > 0) {
            return;
        }
        guard([&] {
            const Recording::Image image = Recording::readPng(images.file());
            if (report.width == 0) {
                report.width = image.width;
                report.height = image.height;
            } else if (report.width != image.width || report.height != image.height) {
                addProblem(fmt::format("{}: {}x{} pixels among images of {}x{}",
                                       images.file().string(), image.width, image.height,
                                       report.width, report.height));
            }
        });
    }

    static double rateOf(uint64_t count, int64_t first, int64_t last) {
        const double seconds = 1e-9 * (static_cast<double>(last) - static_cast<double>(first));
        return count < 2 || seconds <= 0 ? 0 : static_cast<double>(count - 1) / seconds;
    }

    void summarise() {
        int64_t first = INT64_MAX;
        int64_t last = INT64_MIN;
        const auto add = [&](uint64_t count, const auto& report) {
            report_.bytes += report.bytes;
            if (count > 0) {
                first = std::min(first, report.first);
                last = std::max(last, report.last);
            }
        };
        for (const StreamReport& stream : report_.streams) {
            add(stream.records, stream);
        }
        for (const CameraReport& camera : report_.cameras) {
            add(camera.images, camera);
        }
        if (first <= last) {
            report_.seconds = 1e-9 * (static_cast<double>(last) - static_cast<double>(first));
        }
    }

    const Reader& recording_;
    const bool isThorough_;
    RecordingReport report_;
};

}  // namespace

RowTimes::RowTimes(const CsvReader& csv)
    : timestamp_(csv.column("timestamp_ns")),
      received_(csv.column(Recording::kReceivedTitle)),
      sequence_(csv.column("sequence")) {
    for (const char* const title : {"controller", "sensor", "source"}) {
        source_ = std::max(source_, csv.column(title));
    }
    if (timestamp_ < 0 && received_ < 0) {
        csv.requireColumn("timestamp_ns");
    }
}

RowTime RowTimes::read(const CsvReader& csv) const {
    RowTime time;
    if (received_ >= 0) {
        time.received = csv.number<int64_t>(received_);
    }
    time.timestamp = isStamped() ? csv.number<int64_t>(timestamp_) : *time.received;
    if (source_ >= 0) {
        time.source = csv.cells()[static_cast<size_t>(source_)];
    }
    if (sequence_ >= 0) {
        // The lower 32 bits are enough to find gaps in a 64-bit number.
        time.sequence = static_cast<uint32_t>(csv.number<uint64_t>(sequence_));
    }
    return time;
}

RecordingReport inspect(const Reader& recording, bool isThorough) {
    return Inspector(recording, isThorough).inspect();
}
