// Finds the streams and cameras of a recording.
#include "recording/reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <nlohmann/json.hpp>
#include <utility>

#include "recording/layout.h"

namespace Recording {

namespace {

using Json = nlohmann::json;
namespace fs = std::filesystem;

constexpr uintmax_t kLargestDescription = 64 << 20;

/// Whether the name stays inside its directory: it has no separators and is not "..".
bool isPlainName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

bool isDirectory(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

bool isFile(const fs::path& path) {
    std::error_code error;
    return fs::is_regular_file(path, error);
}

Json readJson(const fs::path& path) {
    std::error_code error;
    if (fs::file_size(path, error) > kLargestDescription || error) {
        throw Error(path.string() + ": " + (error ? error.message() : "is too large"));
    }
    std::ifstream file(path);
    try {
        return Json::parse(file);
    } catch (const Json::exception& exception) {
        throw Error(path.string() + ": " + exception.what());
    }
}

/// The value of that name if it has the right type, else `otherwise`.
template <typename Value>
Value valueOf(const Json& object, const char* name, Value otherwise) {
    const auto found = object.find(name);
    if (found != object.end()) {
        try {
            return found->get<Value>();
        } catch (const Json::exception&) {
        }
    }
    return otherwise;
}

const Json& listOf(const Json& object, const char* name) {
    static const Json none = Json::array();
    const auto found = object.find(name);
    return found != object.end() && found->is_array() ? *found : none;
}

/// The number after "cam"; empty if it is not a camera's directory.
std::optional<uint32_t> cameraNumber(const std::string& directory) {
    uint32_t number = 0;
    constexpr std::string_view kPrefix = "cam";
    if (directory.rfind(kPrefix, 0) != 0 ||
        !readCell(std::string_view(directory).substr(kPrefix.size()), number)) {
        return std::nullopt;
    }
    return number;
}

}  // namespace

ImageCursor::ImageCursor(CsvReader csv, fs::path directory)
    : csv_(std::move(csv)), directory_(std::move(directory)) {
    if (csv_.titles().size() < 2) {
        throw csv_.error("no columns for time and file name");
    }
}

bool ImageCursor::next() {
    if (!csv_.next()) {
        return false;
    }
    timestamp_ = csv_.number<int64_t>(0);
    const std::string_view name = csv_.cells()[1];
    if (!isPlainName(name)) {
        throw csv_.error(fmt::format("\"{}\" is no name of a file", name.substr(0, 80)));
    }
    file_ = directory_ / name;
    return true;
}

Reader::Reader(const fs::path& directory)
    : directory_(fs::absolute(directory).lexically_normal()),
      description_(std::make_unique<Json>()) {
    // If the user names the mav0 directory itself, its parent is the data set.
    if (!isDirectory(directory_ / kEurocDirectory) && directory_.filename() == kEurocDirectory) {
        directory_ = directory_.parent_path();
    }
    readDescription();
    findStreams();
    findCameras();
    if (streams_.empty() && cameras_.empty()) {
        throw Error(directory_.string() + ": neither a recording nor a EuRoC data set");
    }
}

Reader::~Reader() = default;

bool Reader::isPlainEuroc() const {
    return description_->is_null();
}

bool Reader::isCutOff() const {
    return !isPlainEuroc() && valueOf<std::string>(*description_, "state", "") != "complete";
}

void Reader::readDescription() {
    const fs::path path = directory_ / kDescriptionFile;
    if (!isFile(path)) {
        return;
    }
    *description_ = readJson(path);
    if (!description_->is_object()) {
        throw Error(path.string() + ": is no JSON object");
    }
    const int version = valueOf(*description_, "formatVersion", 0);
    if (version < 1 || version > kFormatVersion) {
        throw Error(fmt::format("{}: format version {} is unknown; this program reads up to {}",
                                path.string(), version, kFormatVersion));
    }
}

void Reader::findStreams() {
    for (const Json& stream : listOf(*description_, "streams")) {
        const auto name = valueOf<std::string>(stream, "name", "");
        if (!isPlainName(name) || findStream(name) != nullptr) {
            throw Error(fmt::format("{}: \"{}\" is no name of a stream",
                                    (directory_ / kDescriptionFile).string(), name.substr(0, 80)));
        }
        streams_.push_back({name, directory_ / kStreamsDirectory / (name + ".csv"),
                            valueOf(stream, "frameSetsLeftOut", uint64_t{0})});
    }
    for (const EurocView& view : eurocViews()) {
        const fs::path file = directory_ / kEurocDirectory / view.directory / "data.csv";
        if (isPlainEuroc() && isFile(file)) {
            streams_.push_back({std::string(view.stream), file});
        }
    }
}

void Reader::findCameras() {
    for (const Json& camera : listOf(*description_, "cameras")) {
        CameraInfo info;
        info.directory = valueOf<std::string>(camera, "directory", "");
        if (!cameraNumber(info.directory)) {
            throw Error(fmt::format("{}: \"{}\" is no directory of a camera",
                                    (directory_ / kDescriptionFile).string(),
                                    info.directory.substr(0, 80)));
        }
        info.name = valueOf(camera, "name", info.directory);
        info.cameraId = valueOf(camera, "camera", uint32_t{0});
        info.stream = valueOf<std::string>(camera, "stream", "");
        info.position = valueOf(camera, "position", size_t{0});
        info.rate = valueOf(camera, "rate_hz", 0.0);
        info.factoryCalibration = valueOf<std::string>(camera, "factoryCalibration", "");
        info.deviceCalibration = valueOf<std::string>(camera, "deviceCalibration", "");
        info.calibration = cameraCalibrationOf(info.factoryCalibration);
        cameras_.push_back(info);
    }
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(directory_ / kEurocDirectory, error)) {
        const auto number = cameraNumber(entry.path().filename());
        if (!isPlainEuroc() || !number || !isFile(entry.path() / "data.csv")) {
            continue;
        }
        CameraInfo info;
        info.directory = entry.path().filename();
        info.name = info.directory;
        info.cameraId = *number;
        if (isFile(entry.path() / "sensor.yaml")) {
            const CameraDescription description = readCameraYaml(entry.path() / "sensor.yaml");
            info.rate = description.rate;
            info.calibration = description.calibration;
        }
        cameras_.push_back(info);
    }
    std::sort(cameras_.begin(), cameras_.end(), [](const CameraInfo& a, const CameraInfo& b) {
        return cameraNumber(a.directory) < cameraNumber(b.directory);
    });
}

const StreamInfo* Reader::findStream(std::string_view name) const {
    const auto found = std::find_if(streams_.begin(), streams_.end(),
                                    [&](const StreamInfo& stream) { return stream.name == name; });
    return found == streams_.end() ? nullptr : &*found;
}

CsvReader Reader::open(const StreamInfo& stream) const {
    CsvReader csv(stream.file);
    if (const EurocView* view = isPlainEuroc() ? eurocViewOf(stream.name) : nullptr) {
        for (const EurocColumn& column : view->columns) {
            csv.renameColumn(column.title, column.streamColumn);
            csv.requireColumn(column.streamColumn);
        }
    }
    return csv;
}

ImageCursor Reader::images(const CameraInfo& camera) const {
    const fs::path directory = directory_ / kEurocDirectory / camera.directory;
    return {CsvReader(directory / "data.csv"), directory / "data"};
}

fs::path Reader::imageFile(const CameraInfo& camera, int64_t timestamp) const {
    return directory_ / kEurocDirectory / camera.directory / "data" /
           (std::to_string(timestamp) + ".png");
}

std::optional<CsvReader> Reader::groundTruth() const {
    const fs::path file = directory_ / kEurocDirectory / kGroundTruthDirectory / "data.csv";
    return isFile(file) ? std::optional<CsvReader>(CsvReader(file)) : std::nullopt;
}

}  // namespace Recording
