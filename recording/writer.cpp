// The files of a recording.
#include "recording/writer.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <ctime>
#include <optional>
#include <system_error>

#include "recording/error.h"
#include "recording/layout.h"

namespace Recording {

namespace {

using Json = nlohmann::json;
namespace fs = std::filesystem;

Error cannotWrite(const fs::path& path, int error) {
    return Error("cannot write " + path.string() + ": " + std::generic_category().message(error));
}

int64_t nanoseconds(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

/// Readings of several clocks at the same time, to relate the recording's clock to others.
Json clocks() {
    const int64_t wall = nanoseconds(CLOCK_REALTIME);
    const time_t seconds = wall / 1'000'000'000;
    tm utc{};
    gmtime_r(&seconds, &utc);
    char text[32];
    const size_t size = std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", &utc);
    return {{"utc", std::string(text, size)},
            {"realtime_ns", wall},
            {"monotonic_ns", nanoseconds(CLOCK_MONOTONIC)},
            {"boottime_ns", nanoseconds(CLOCK_BOOTTIME)}};
}

/// Whether the directory contains a recording of this project and nothing else.
bool isRecording(const fs::path& directory) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(directory, error)) {
        const fs::path name = entry.path().filename();
        if (name != kDescriptionFile && name != kStreamsDirectory && name != kEurocDirectory &&
            name != kKalibrDirectory) {
            return false;
        }
    }
    return !error && fs::exists(directory / kDescriptionFile, error);
}

void makeDirectories(const fs::path& path) {
    std::error_code error;
    fs::create_directories(path, error);
    if (error) {
        throw Error("cannot make directory " + path.string() + ": " + error.message());
    }
}

/// Removes the first row and its line end from `rows`. Cells keep their quotation marks.
bool takeRow(std::string_view& rows, std::vector<std::string_view>& cells) {
    cells.clear();
    bool isQuoted = false;
    size_t begin = 0;
    for (size_t i = 0; i < rows.size(); ++i) {
        const bool isEnd = rows[i] == '\n' && !isQuoted;
        if (isEnd || (rows[i] == ',' && !isQuoted)) {
            cells.push_back(rows.substr(begin, i - begin));
            begin = i + 1;
        }
        if (isEnd) {
            rows.remove_prefix(begin);
            return true;
        }
        isQuoted ^= rows[i] == '"';
    }
    return false;
}

/// Number and time span of the samples so far.
struct Span {
    void add(int64_t timestamp) {
        first = count == 0 ? timestamp : first;
        last = timestamp;
        ++count;
    }
    /// Rate in Hz, rounded to a hundredth; 0 if it is unknown.
    double rate() const {
        const double seconds = 1e-9 * (static_cast<double>(last) - static_cast<double>(first));
        return count < 2 || seconds <= 0
                   ? 0
                   : std::round(static_cast<double>(count - 1) / seconds * 100) / 100;
    }

    uint64_t count = 0;
    int64_t first = 0;
    int64_t last = 0;
};

}  // namespace

class Writer::File {
  public:
    File(fs::path path, const std::string& titles, std::atomic<uint64_t>& bytes)
        : path_(std::move(path)), file_(std::fopen(path_.c_str(), "we")), bytes_(&bytes) {
        if (file_ == nullptr) {
            throw cannotWrite(path_, errno);
        }
        std::setvbuf(file_.get(), nullptr, _IOFBF, kBufferSize);
        write(titles + "\n");
    }

    void write(std::string_view text) {
        if (std::fwrite(text.data(), 1, text.size(), file_.get()) != text.size()) {
            throw cannotWrite(path_, errno);
        }
        *bytes_ += text.size();
    }

    void flush() {
        if (std::fflush(file_.get()) != 0) {
            throw cannotWrite(path_, errno);
        }
    }

  private:
    /// More than arrives between two calls of flush(), so that all files are written up to the same
    /// time.
    static constexpr size_t kBufferSize = size_t{256} << 10;

    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    fs::path path_;
    std::unique_ptr<std::FILE, Close> file_;
    std::atomic<uint64_t>* bytes_;
};

struct Writer::Stream {
    const EurocView* view = nullptr;
    /// Columns of the stream, in the order of the view's.
    std::vector<size_t> viewColumns;
    size_t timestampColumn = 0;
    std::optional<File> file;
    std::optional<File> viewFile;
    Span span;
};

struct Writer::Camera {
    std::optional<File> file;
    Span span;
    uint32_t width = 0;
    uint32_t height = 0;
};

Writer::Writer(fs::path directory, Plan plan, bool isReplacing)
    : directory_(std::move(directory)),
      plan_(std::move(plan)),
      streams_(plan_.streams.size()),
      cameras_(plan_.cameras.size()),
      ends_(plan_.streams.size()) {
    std::error_code error;
    if (!fs::exists(directory_, error)) {
        return;
    }
    const bool isDirectory = fs::is_directory(directory_, error);
    if (isDirectory && fs::is_empty(directory_, error)) {
        return;
    }
    if (!isDirectory || error) {
        throw Error(directory_.string() + ": is no directory that can be used");
    }
    if (!isReplacing) {
        throw Error(directory_.string() +
                    ": is not empty; a recording in it is replaced with --force only");
    }
    if (!isRecording(directory_)) {
        throw Error(directory_.string() + ": has other files than a recording: it is not replaced");
    }
    old_ = fs::path((directory_ / "").parent_path()) += fmt::format(".old-{}", getpid());
}

Writer::~Writer() = default;

void Writer::begin() {
    start_ = clocks();
    if (old_.empty()) {
        makeFiles();
    } else {
        if (std::rename(directory_.c_str(), old_.c_str()) != 0) {
            throw cannotWrite(directory_, errno);
        }
        try {
            makeFiles();
        } catch (const Error&) {
            std::error_code error;
            fs::remove_all(directory_, error);
            fs::rename(old_, directory_, error);
            throw;
        }
        std::error_code error;
        fs::remove_all(old_, error);
    }
    hasBegun_ = true;
}

void Writer::makeFiles() {
    makeDirectories(directory_ / kStreamsDirectory);
    const fs::path euroc = directory_ / kEurocDirectory;
    for (size_t i = 0; i < streams_.size(); ++i) {
        const StreamPlan& plan = plan_.streams[i];
        Stream& stream = streams_[i];
        const std::string titles = std::string(kReceivedTitle) + "," + plan.titles;
        stream.file.emplace(directory_ / kStreamsDirectory / (plan.name + ".csv"), titles, bytes_);
        const std::string titleRow = titles + "\n";
        std::string_view titleLine = titleRow;
        std::vector<std::string_view> columns;
        takeRow(titleLine, columns);
        const auto place = [&columns](std::string_view title) {
            return static_cast<size_t>(std::find(columns.begin(), columns.end(), title) -
                                       columns.begin());
        };
        stream.timestampColumn = place("timestamp_ns");
        stream.view = eurocViewOf(plan.name);
        if (stream.timestampColumn == columns.size()) {
            stream.timestampColumn = 0;
        }
        if (stream.view == nullptr) {
            continue;
        }
        for (const EurocColumn& column : stream.view->columns) {
            stream.viewColumns.push_back(place(column.streamColumn));
        }
        makeDirectories(euroc / stream.view->directory);
        stream.viewFile.emplace(euroc / stream.view->directory / "data.csv", titlesOf(*stream.view),
                                bytes_);
    }
    for (size_t i = 0; i < cameras_.size(); ++i) {
        const fs::path directory = euroc / plan_.cameras[i].directory;
        makeDirectories(directory / "data");
        cameras_[i].file.emplace(directory / "data.csv", kImageTitles, bytes_);
    }
    describe(false);
    flush();
}

void Writer::writeRows(size_t number, std::string_view rows) {
    Stream& stream = streams_[number];
    stream.file->write(rows);
    std::vector<std::string_view> cells;
    std::string viewRow;
    while (takeRow(rows, cells)) {
        int64_t timestamp = 0;
        readCell(cells.at(stream.timestampColumn), timestamp);
        stream.span.add(timestamp);
        if (stream.viewFile) {
            viewRow.clear();
            for (const size_t column : stream.viewColumns) {
                viewRow.append(viewRow.empty() ? "" : ",").append(cells.at(column));
            }
            stream.viewFile->write(viewRow += '\n');
        }
    }
}

void Writer::writeImage(size_t camera, int64_t timestamp, std::string_view png) {
    const fs::path path = directory_ / kEurocDirectory / plan_.cameras[camera].directory / "data" /
                          fmt::format("{}.png", timestamp);
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0) {
        throw cannotWrite(path, errno);
    }
    bytes_ += png.size();
    while (!png.empty()) {
        const ssize_t written = write(file, png.data(), png.size());
        if (written < 0 && errno != EINTR) {
            const int error = errno;
            close(file);
            unlink(path.c_str());
            throw cannotWrite(path, error);
        }
        png.remove_prefix(written < 0 ? 0 : static_cast<size_t>(written));
    }
    close(file);
}

void Writer::writeImageRow(size_t camera, int64_t timestamp) {
    cameras_[camera].file->write(fmt::format("{0},{0}.png\n", timestamp));
    cameras_[camera].span.add(timestamp);
}

void Writer::setImageSize(size_t camera, uint32_t width, uint32_t height) {
    cameras_[camera].width = width;
    cameras_[camera].height = height;
}

void Writer::flush() {
    // Flushes rows of frame sets last, because they refer to images.
    for (Camera& camera : cameras_) {
        camera.file->flush();
    }
    for (Stream& stream : streams_) {
        if (stream.viewFile) {
            stream.viewFile->flush();
        }
        stream.file->flush();
    }
    // At the second flush the rates are known; write them now, in case the recording is cut off.
    constexpr size_t kSettled = 2;
    if (++flushes_ == kSettled) {
        describe(false);
    }
}

void Writer::addGroundTruth(const fs::path& source) {
    constexpr size_t kPoseColumns = 8;
    if (CsvReader(source).titles().size() < kPoseColumns) {
        throw Error(source.string() + ":1: no ground truth in EuRoC's form");
    }
    const fs::path directory = directory_ / kEurocDirectory / kGroundTruthDirectory;
    makeDirectories(directory);
    std::error_code error;
    fs::copy_file(source, directory / "data.csv", fs::copy_options::overwrite_existing, error);
    if (error) {
        throw Error("cannot write " + (directory / "data.csv").string() + ": " + error.message());
    }
    replaceFile(directory / "sensor.yaml",
                "sensor_type: visual-inertial\ncomment: true poses of the IMU in the world\n");
    hasGroundTruth_ = true;
}

void Writer::finish(const std::vector<StreamEnd>& ends) {
    ends_ = ends;
    ends_.resize(streams_.size());
    flush();
    describe(true);
}

void Writer::replaceFile(const fs::path& file, const std::string& text) {
    const fs::path partial = fs::path(file) += ".partial";
    {
        // File writes its title line and a line end, so pass the text without its last line end.
        File out(partial, text.substr(0, text.empty() ? 0 : text.size() - 1), bytes_);
        out.flush();
    }
    if (std::rename(partial.c_str(), file.c_str()) != 0) {
        throw cannotWrite(file, errno);
    }
}

void Writer::describe(bool isComplete) {
    Json description{{"formatVersion", kFormatVersion},
                     {"program", plan_.program},
                     {"state", isComplete ? "complete" : "recording"},
                     {"start", start_},
                     {"inventory", plan_.inventory},
                     {"groundTruth", hasGroundTruth_},
                     {"streams", Json::array()},
                     {"cameras", Json::array()}};
    if (isComplete) {
        description["end"] = clocks();
    }
    const auto addSpan = [](Json& entry, const char* count, const Span& span) {
        entry[count] = span.count;
        entry["rate_hz"] = span.rate();
        entry["first_ns"] = span.first;
        entry["last_ns"] = span.last;
    };
    const fs::path euroc = directory_ / kEurocDirectory;
    std::optional<ImuNoise> noise;
    std::vector<std::optional<CameraCalibration>> calibrations;
    for (size_t i = 0; i < cameras_.size(); ++i) {
        const CameraInfo& plan = plan_.cameras[i];
        const Camera& camera = cameras_[i];
        const double rate = camera.span.rate() > 0 ? camera.span.rate() : plan.rate;
        Json entry{{"directory", plan.directory},
                   {"name", plan.name},
                   {"camera", plan.cameraId},
                   {"stream", plan.stream},
                   {"position", plan.position},
                   {"width", camera.width},
                   {"height", camera.height},
                   {"factoryCalibration", plan.factoryCalibration},
                   {"deviceCalibration", plan.deviceCalibration}};
        addSpan(entry, "images", camera.span);
        entry["rate_hz"] = rate;
        description["cameras"].push_back(entry);
        const auto calibration = scaledTo(plan.calibration, camera.width, camera.height);
        replaceFile(euroc / plan.directory / "sensor.yaml",
                    cameraYaml(plan.name, rate, camera.width, camera.height, calibration));
        calibrations.push_back(calibration);
        noise = noise ? noise : imuNoiseOf(plan.deviceCalibration);
    }
    const fs::path kalibr = directory_ / kKalibrDirectory;
    makeDirectories(kalibr);
    replaceFile(kalibr / "camchain-imucam.yaml", kalibrCameraChain(calibrations));
    for (size_t i = 0; i < streams_.size(); ++i) {
        const Stream& stream = streams_[i];
        const std::string& name = plan_.streams[i].name;
        Json entry{{"name", name},
                   {"drops", ends_[i].drops},
                   {"frameSetsLeftOut", ends_[i].frameSetsLeftOut}};
        addSpan(entry, "records", stream.span);
        description["streams"].push_back(entry);
        if (stream.view == nullptr) {
            continue;
        }
        const fs::path yaml = euroc / stream.view->directory / "sensor.yaml";
        const double rate = stream.span.rate();
        if (name == "imu") {
            replaceFile(yaml, imuYaml(name, rate, noise));
            replaceFile(kalibr / "imu.yaml", kalibrImu(rate, noise));
        } else {
            replaceFile(yaml, magnetometerYaml(name, rate));
        }
    }
    // Names and texts of a device may be invalid UTF-8.
    replaceFile(directory_ / kDescriptionFile,
                description.dump(2, ' ', true, Json::error_handler_t::replace) + "\n");
}

}  // namespace Recording
