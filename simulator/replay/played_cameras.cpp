// Derives the plan of each camera stream from its recording.
#include "replay/played_cameras.h"

#include <log/log.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <utility>

#include "recording/image.h"
#include "replay/euroc_frames.h"
#include "replay/recorded_stream.h"

namespace Simulator {
namespace {

using Recording::CameraInfo;

/// A camera stream's name in recordings and its properties in the HAL.
struct Kind {
    const char* stream;
    Hidl::FrameType frameType;
    const char* purpose;
};

constexpr Kind kFrameKinds[] = {
    {"camera-headset", Hidl::FrameType::HEADSET, "head-tracking"},
    {"camera-hand", Hidl::FrameType::HAND, "hand-tracking"},
    {"camera-eye", Hidl::FrameType::EYE, "eye-tracking"},
    {"camera-depth", Hidl::FrameType::DEPTH, "depth"},
    {"camera-color", Hidl::FrameType::COLOR, "passthrough"},
};

CameraPlan planOf(const CameraInfo& info) {
    CameraPlan plan{};
    plan.id = info.cameraId;
    plan.name = info.name;
    if (const auto& calibration = info.calibration) {
        plan.lens.model = calibration->distortionModel == "equidistant"
                              ? Lens::Model::EQUIDISTANT
                              : Lens::Model::RADIAL_TANGENTIAL;
        std::copy_n(calibration->intrinsics.begin(), 4, plan.lens.intrinsics.begin());
        std::copy_n(calibration->distortion.begin(), 4, plan.lens.distortion.begin());
        const Eigen::Matrix4d toImu =
            Eigen::Map<const Eigen::Matrix<double, 4, 4, Eigen::RowMajor>>(
                calibration->cameraToImu.data());
        plan.mount.orientation = Eigen::Quaterniond(toImu.topLeftCorner<3, 3>()).normalized();
        plan.mount.position = toImu.topRightCorner<3, 1>();
    }
    return plan;
}

/// @param image any image of the stream; all have its size and format
CameraStreamPlan planOf(const Kind& kind, const std::vector<CameraInfo>& cameras,
                        const Recording::Image& image) {
    CameraStreamPlan plan{};
    plan.name = kind.stream;
    plan.frameType = kind.frameType;
    plan.purpose = kind.purpose;
    plan.sensorModel = "recorded";
    for (const CameraInfo& camera : cameras) {
        plan.cameras.push_back(planOf(camera));
    }
    const double rate = cameras.front().rate;
    plan.frameRate = static_cast<Hidl::FrameRate>(
        rate >= 1 && rate < 1000 ? static_cast<uint32_t>(std::lround(rate)) : 30);
    plan.pixelFormat = static_cast<Hidl::PixelFormat>(image.format);
    plan.width = image.width;
    plan.height = image.height;
    return plan;
}

/// The stream's cameras in the order of its frame sets.
std::vector<CameraInfo> camerasOf(const Recording::Reader& recording, const Kind& kind) {
    std::vector<CameraInfo> cameras;
    for (const CameraInfo& camera : recording.cameras()) {
        const bool isOfStream = recording.isPlainEuroc()
                                    ? kind.frameType == Hidl::FrameType::HEADSET
                                    : camera.stream == kind.stream;
        if (isOfStream) {
            cameras.push_back(camera);
        }
    }
    std::stable_sort(cameras.begin(), cameras.end(), [](const CameraInfo& a, const CameraInfo& b) {
        return a.position < b.position;
    });
    constexpr size_t kMostCameras = decltype(Hidl::FrameSet::frames)::size();
    cameras.resize(std::min(cameras.size(), kMostCameras));
    return cameras;
}

/// The first image of the stream; empty if it has none.
std::optional<Recording::Image> firstImage(const Recording::Reader& recording,
                                           const std::vector<CameraInfo>& cameras) {
    for (const CameraInfo& camera : cameras) {
        Recording::ImageCursor images = recording.images(camera);
        if (images.next()) {
            return Recording::readPng(images.file());
        }
    }
    return std::nullopt;
}

}  // namespace

PlayedCameras::PlayedCameras(const Playback& playback)
    : playback_(playback), images_(std::make_shared<RecordedImages>(playback.recording)) {
    const Recording::Reader& recording = *playback_.recording;
    std::vector<CameraStreamPlan> plans;
    std::vector<std::vector<CameraInfo>> cameras;
    for (const Kind& kind : kFrameKinds) {
        std::vector<CameraInfo> ofStream;
        if (recording.isPlainEuroc() ? playback_.areEurocCamerasPlayed
                                     : playback_.find(kind.stream) != nullptr) {
            ofStream = camerasOf(recording, kind);
        }
        if (ofStream.empty()) {
            continue;
        }
        const auto image = firstImage(recording, ofStream);
        if (image) {
            plans.push_back(planOf(kind, ofStream, *image));
            cameras.push_back(ofStream);
        } else {
            ALOGW("%s: no image was recorded: the stream is absent", kind.stream);
        }
    }
    devices_ = std::make_unique<CameraDevices>(plans, images_, playback_.faults,
                                               playback_.timeline->sharedClock());
    for (size_t i = 0; i < plans.size(); ++i) {
        const android::sp<FrameSetServer> server = devices_->streams()[i]->server();
        Stream stream;
        if (recording.isPlainEuroc()) {
            stream.records = std::make_unique<EurocFrames>(
                recording, cameras[i],
                [this, server, infos = cameras[i]](const Hidl::FrameSet& frameSet,
                                                   const auto& files) {
                    for (size_t camera = 0; camera < files.size(); ++camera) {
                        images_->setNext(infos[camera].cameraId, files[camera]);
                    }
                    server->play(frameSet);
                });
        } else {
            stream.records = std::make_unique<RecordedStream<Hidl::FrameSet>>(
                recording, *playback_.find(plans[i].name),
                [this, server, infos = cameras[i]](const Hidl::FrameSet& frameSet,
                                                   const Hidl::FrameSet& recorded) {
                    for (const CameraInfo& camera : infos) {
                        images_->setNext(camera.cameraId, playback_.recording->imageFile(
                                                              camera, recorded.timestamp));
                    }
                    server->play(frameSet);
                });
        }
        stream.player =
            std::make_unique<Player>(plans[i].name, playback_.timeline, *stream.records);
        server->onListened(
            [player = stream.player.get()](bool isListened) { player->setListened(isListened); });
        streams_.push_back(std::move(stream));
    }
}

PlayedCameras::~PlayedCameras() {
    PlayedCameras::stop();
}

std::string PlayedCameras::registerServices() {
    return streams_.empty() ? "" : devices_->registerServices();
}

void PlayedCameras::stop() {
    // Stops the servers first: a player may be waiting for room in one.
    devices_->stop();
    for (const Stream& stream : streams_) {
        stream.player->stop();
    }
}

std::vector<std::string> PlayedCameras::summary() const {
    return streams_.empty() ? std::vector<std::string>{} : devices_->summary();
}

}  // namespace Simulator
