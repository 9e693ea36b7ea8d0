// The recording's extent is that of the streams that are played.
#include "replay/playback.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <stdexcept>
#include <utility>

#include "replay/recorded_stream.h"

namespace Simulator {
namespace {

/// All cameras of a EuRoC data set are one stream.
constexpr char kEurocCameras[] = "camera-headset";

/// Content of the streams that are played.
struct Content {
    int64_t begin = std::numeric_limits<int64_t>::max();
    int64_t end = std::numeric_limits<int64_t>::min();
    std::set<uint64_t> controllers;

    void addTime(int64_t time) {
        begin = std::min(begin, time);
        end = std::max(end, time);
    }
};

/// Reads all records of a stream to find its extent, and errors.
template <typename Record>
void survey(const Recording::Reader& recording, const Recording::StreamInfo& stream,
            Content* content) {
    RecordedStream<Record> records(recording, stream, [](const Record&, const Record&) {});
    for (; records.time(); records.advance()) {
        content->addTime(*records.time());
        if (const auto controller = controllerOf(records.record())) {
            content->controllers.insert(*controller);
        }
    }
}

/// The same for the images of a data set that has no frame sets.
void surveyImages(const Recording::Reader& recording, Content* content) {
    for (const Recording::CameraInfo& camera : recording.cameras()) {
        for (Recording::ImageCursor images = recording.images(camera); images.next();) {
            content->addTime(images.timestamp());
        }
    }
}

using Survey = void (*)(const Recording::Reader&, const Recording::StreamInfo&, Content*);

/// The function that surveys each stream that can be played, by its name.
const std::map<std::string, Survey>& surveys() {
    static const std::map<std::string, Survey> all{
        {"imu", survey<Hidl::ImuData>},
        {"mag", survey<Hidl::MagData>},
        {"iad", survey<Hidl::IadData>},
        {"flicker", survey<Hidl::FlickerData>},
        {"adc-flicker", survey<Hidl::AdcFlickerData>},
        {"ambient-light", survey<Hidl::AmbientLightData>},
        {"external-timing", survey<Hidl::ExternalTimestampData>},
        {"controller-state", survey<Hidl::PairedControllerInfo>},
        {"controller-imu", survey<Hidl::ControllerImuData>},
        {"controller-buttons", survey<Hidl::ButtonData>},
        {"controller-curl", survey<Hidl::CurlData>},
        {"controller-pad", survey<Hidl::PrecisionPadData>},
        {"controller-touch", survey<Hidl::MultiTouchData>},
        {"controller-stylus", survey<Hidl::StylusData>},
        {"controller-adc", survey<Hidl::ControllerInputADCData>},
        {"controller-pose", survey<Hidl::PoseInput>},
        {"controller-collision", survey<Hidl::ControllerCollisionEvent>},
        {"controller-link", survey<Hidl::WirelessDeviceStats>},
        {"camera-headset", survey<Hidl::FrameSet>},
        {"camera-hand", survey<Hidl::FrameSet>},
        {"camera-eye", survey<Hidl::FrameSet>},
        {"camera-depth", survey<Hidl::FrameSet>},
        {"camera-color", survey<Hidl::FrameSet>},
    };
    return all;
}

}  // namespace

const Recording::StreamInfo* Playback::find(std::string_view name) const {
    const auto found =
        std::find_if(streams.begin(), streams.end(),
                     [name](const Recording::StreamInfo& stream) { return stream.name == name; });
    return found == streams.end() ? nullptr : &*found;
}

Playback openPlayback(const ReplayOptions& options, const std::shared_ptr<WorldClock>& clock,
                      const std::shared_ptr<Faults>& faults) {
    Playback playback;
    playback.recording = std::make_shared<Recording::Reader>(options.directory);
    playback.faults = faults;
    std::vector<std::string> names = options.streams;
    if (names.empty()) {
        // Streams that the HAL does not serve, such as mux states, are not played.
        for (const Recording::StreamInfo& stream : playback.recording->streams()) {
            if (surveys().count(stream.name) > 0) {
                names.push_back(stream.name);
            }
        }
        if (playback.recording->isPlainEuroc() && !playback.recording->cameras().empty()) {
            names.emplace_back(kEurocCameras);
        }
    }
    Content content;
    for (const std::string& name : names) {
        if (playback.recording->isPlainEuroc() && name == kEurocCameras) {
            surveyImages(*playback.recording, &content);
            playback.areEurocCamerasPlayed = true;
            continue;
        }
        const Recording::StreamInfo* const stream = playback.recording->findStream(name);
        const auto survey = surveys().find(name);
        if (stream == nullptr || survey == surveys().end()) {
            throw std::runtime_error(fmt::format(
                "{}: {} stream '{}'", playback.recording->directory().string(),
                stream == nullptr ? "there is no" : "this program cannot play the", name));
        }
        survey->second(*playback.recording, *stream, &content);
        playback.streams.push_back(*stream);
    }
    const auto begin = content.begin + static_cast<int64_t>(options.start * 1e9);
    if (content.begin > content.end || begin > content.end) {
        throw std::runtime_error(
            fmt::format("{}: there is nothing to play", playback.recording->directory().string()));
    }
    playback.controllers = content.controllers;
    playback.timeline = std::make_shared<PlaybackTimeline>(
        clock, begin, content.end, options.isLooped, options.areTimestampsKept);
    return playback;
}

}  // namespace Simulator
