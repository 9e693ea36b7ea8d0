// Opens camera streams through the public factory.
#include "stream_kinds.h"

#include <vek/sensors/factories.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "camera/camera_access.h"
#include "camera/camera_names.h"
#include "camera/camera_sensor_stream.h"
#include "failure.h"

using namespace Vek::Sensors;

namespace {

constexpr char kAllCameras[] = "cameras";

using Streams = std::vector<std::unique_ptr<SensorStream>>;

std::string streamName(FrameType type) {
    return "camera-" + nameOf(type);
}

bool hasCamera(ICameraStream& stream, uint32_t cameraId) {
    const auto cameras = stream.getConfiguration().cameras;
    return std::any_of(cameras.begin(), cameras.end(),
                       [cameraId](const auto& camera) { return camera.cameraId == cameraId; });
}

/// Opens the streams of those of `types` that the device has and that include the requested camera.
/// Throws Failure if there are none.
Streams openStreams(const std::string& name, const std::vector<FrameType>& types,
                    const SessionOptions& options) {
    const std::shared_ptr<ICameraProvider> provider =
        requireService(createCameraProvider(), "ICameraProvider");
    std::optional<uint32_t> wanted;
    if (!options.camera.empty()) {
        wanted = findCamera(*provider, options.camera).cameraId;
    }
    Streams streams;
    for (const FrameType type : types) {
        const std::shared_ptr<ICameraStream> camera = provider->getStream(type, "sensorctl");
        if (camera == nullptr || (wanted && !hasCamera(*camera, *wanted))) {
            continue;
        }
        streams.push_back(
            std::make_unique<CameraSensorStream>(streamName(type), provider, camera, wanted));
    }
    if (streams.empty()) {
        throw Failure(ExitCode::USAGE, name + ": the service has no such cameras");
    }
    return streams;
}

Streams openAll(const SessionOptions& options) {
    return openStreams(kAllCameras, streamFrameTypes(), options);
}

Streams openOne(FrameType type, const SessionOptions& options) {
    const auto& chosen = options.streams;
    const bool isAmongAll = std::find(chosen.begin(), chosen.end(), kAllCameras) != chosen.end();
    return isAmongAll ? Streams() : openStreams(streamName(type), {type}, options);
}

}  // namespace

void addCameraStreams(std::vector<StreamKind>& kinds) {
    kinds.push_back({kAllCameras, openAll});
    for (const FrameType type : streamFrameTypes()) {
        kinds.push_back({streamName(type),
                         [type](const SessionOptions& options) { return openOne(type, options); },
                         true});
    }
}
