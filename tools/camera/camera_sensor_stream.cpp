// Copies the images while this client holds the frame set.
#include "camera/camera_sensor_stream.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>

#include "camera/picture.h"
#include "failure.h"

using namespace Vek::Sensors;

namespace {

std::function<std::optional<RecordOrigin>(const FrameSet&)> originOfWanted(
    std::optional<uint32_t> wanted) {
    return [wanted](const FrameSet& frameSet) {
        return wanted ? originOfFrame(frameSet, *wanted) : originOf(frameSet);
    };
}

}  // namespace

CameraSensorStream::CameraSensorStream(std::string name, std::shared_ptr<ICameraProvider> provider,
                                       std::shared_ptr<ICameraStream> camera,
                                       std::optional<uint32_t> wanted)
    : TypedSensorStream(std::move(name), camera->stream(),
                        StreamControl{[camera] { camera->start(); }, [camera] { camera->stop(); }},
                        std::nullopt, originOfWanted(wanted)),
      provider_(std::move(provider)),
      camera_(std::move(camera)),
      wanted_(wanted) {}

std::vector<Recording::CameraInfo> CameraSensorStream::cameras() {
    metadata_ = camera_->getMetadata();
    const std::vector<CameraProperties> properties = provider_->getProperties();
    const double rate = camera_->getConfiguration().frameSetRate;
    std::vector<Recording::CameraInfo> cameras;
    for (size_t position = 0; position < metadata_.cameras.size(); ++position) {
        Recording::CameraInfo info;
        info.cameraId = metadata_.cameras[position].cameraId;
        if (wanted_ && info.cameraId != *wanted_) {
            continue;
        }
        info.stream = name();
        info.position = position;
        info.rate = rate;
        const auto found =
            std::find_if(properties.begin(), properties.end(),
                         [&](const auto& camera) { return camera.cameraId == info.cameraId; });
        if (found != properties.end()) {
            info.name = found->propertyText1;
            info.factoryCalibration = found->calibrationData1;
            info.deviceCalibration = found->calibrationData2;
            info.calibration = Recording::cameraCalibrationOf(info.factoryCalibration);
        }
        cameras.push_back(std::move(info));
    }
    return cameras;
}

void CameraSensorStream::recordTo(Recording::Recorder& recorder, size_t number,
                                  size_t firstCamera) {
    TypedSensorStream::recordTo(recorder, number, firstCamera);
    firstCamera_ = firstCamera;
}

void CameraSensorStream::keep(const FrameSet& frameSet, std::string_view row) {
    std::vector<Recording::FrameView> images;
    const size_t count =
        std::min<size_t>({frameSet.numFrames, kMaxFrameSetSize, metadata_.cameras.size()});
    size_t number = firstCamera_;
    for (size_t position = 0; position < count; ++position) {
        const CameraFrame& frame = frameSet.frames[position];
        const CameraMetadata& camera = metadata_.cameras[position];
        if (wanted_ && camera.cameraId != *wanted_) {
            continue;
        }
        if (frame.cameraId == camera.cameraId && frame.bufferIndex < camera.buffers.size()) {
            const auto pixels = camera.buffers[frame.bufferIndex]->pixels();
            // A frame without an image still has its row.
            if (const auto image = findImage(frame, pixels)) {
                images.push_back({number, *image});
            }
        }
        ++number;
    }
    // A service that its clients pace (--speed 0) continues only after they have read, so wait for
    // room.
    constexpr std::chrono::seconds kLatest{10};
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const bool isPaced =
        std::chrono::abs(now - std::chrono::nanoseconds{frameSet.timestamp}) > kLatest;
    using WhenFull = Recording::Recorder::WhenFull;
    recorder().addFrameSet(this->number(), row, frameSet.timestamp, images,
                           isPaced ? WhenFull::WAIT : WhenFull::LEAVE_OUT);
}
