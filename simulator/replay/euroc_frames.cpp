// Merges the cameras' image lists by time.
#include "replay/euroc_frames.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <utility>

namespace Simulator {

EurocFrames::EurocFrames(const Recording::Reader& recording,
                         const std::vector<Recording::CameraInfo>& cameras, Deliver deliver)
    : recording_(recording), deliver_(std::move(deliver)) {
    for (const Recording::CameraInfo& camera : cameras) {
        cameras_.push_back({camera, recording.images(camera), std::nullopt});
        advance(&cameras_.back());
    }
    EurocFrames::advance();
}

void EurocFrames::advance(Camera* camera) const {
    const std::optional<int64_t> last = camera->time;
    if (!camera->images.next()) {
        camera->time.reset();
        return;
    }
    camera->time = camera->images.timestamp();
    if (last && *camera->time <= *last) {
        throw camera->images.csv().error(
            fmt::format("the time does not go on: {} ns behind {} ns", *camera->time, *last));
    }
}

void EurocFrames::advance() {
    time_.reset();
    for (const Camera& camera : cameras_) {
        if (camera.time && (!time_ || *camera.time < *time_)) {
            time_ = camera.time;
        }
    }
    files_.clear();
    for (Camera& camera : cameras_) {
        const bool isReceived = time_ && camera.time == time_;
        files_.push_back(isReceived ? camera.images.file() : std::filesystem::path());
        if (isReceived) {
            advance(&camera);
        }
    }
}

void EurocFrames::rewind() {
    for (Camera& camera : cameras_) {
        camera.images = recording_.images(camera.info);
        camera.time.reset();
        advance(&camera);
    }
    advance();
}

void EurocFrames::deliver(int64_t shift, bool /*isFirst*/) {
    Hidl::FrameSet frameSet{};
    frameSet.timestamp = *time_ + shift;
    frameSet.sequence = sequence_++;
    frameSet.frameType = Hidl::FrameType::HEADSET;
    frameSet.numFrames = static_cast<uint32_t>(cameras_.size());
    for (size_t i = 0; i < cameras_.size(); ++i) {
        Hidl::CameraFrame& frame = frameSet.frames[i];
        frame.timestamp = frame.arrivalTimestamp = frameSet.timestamp;
        frame.analogGain = frame.digitalGain = 1;
        frame.cameraId = cameras_[i].info.cameraId;
        frame.sequence = frameSet.sequence;
        frame.frameType = files_[i].empty() ? Hidl::FrameType::NOT_RECEIVED : frameSet.frameType;
    }
    deliver_(frameSet, files_);
}

}  // namespace Simulator
