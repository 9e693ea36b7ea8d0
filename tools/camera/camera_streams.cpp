// Opens camera streams through the public factory.
#include "camera/camera_streams.h"

#include <vek/sensors/factories.h>

#include <algorithm>

#include "camera/camera_names.h"
#include "camera/camera_records.h"
#include "failure.h"

using namespace Vek::Sensors;

namespace {

constexpr char kAllCameras[] = "cameras";

using Streams = std::vector<std::unique_ptr<SensorStream>>;

std::string streamName(FrameType type) {
    return "camera-" + nameOf(type);
}

/// Nothing if the device has no camera of that type.
void openStream(ICameraProvider& provider, FrameType type, Streams& streams) {
    if (auto camera = provider.getStream(type, "sensorctl")) {
        const std::shared_ptr<ICameraStream> shared(std::move(camera));
        streams.push_back(std::make_unique<TypedSensorStream<FrameSet>>(
            streamName(type), shared->stream(),
            StreamControl{[shared] { shared->start(); }, [shared] { shared->stop(); }},
            std::nullopt));
    }
}

Streams openAll(const SessionOptions& /*options*/) {
    const auto provider = requireService(createCameraProvider(), "ICameraProvider");
    Streams streams;
    for (const FrameType type : streamFrameTypes()) {
        openStream(*provider, type, streams);
    }
    return streams;
}

Streams openOne(FrameType type, const SessionOptions& options) {
    Streams streams;
    const auto& chosen = options.streams;
    if (std::find(chosen.begin(), chosen.end(), kAllCameras) != chosen.end()) {
        return streams;  // It is one of them.
    }
    const auto provider = requireService(createCameraProvider(), "ICameraProvider");
    openStream(*provider, type, streams);
    if (streams.empty()) {
        throw Failure(ExitCode::USAGE,
                      fmt::format("{}: the service has no such cameras", streamName(type)));
    }
    return streams;
}

}  // namespace

void addCameraStreams(std::vector<StreamKind>& kinds) {
    kinds.push_back({kAllCameras, openAll});
    for (const FrameType type : streamFrameTypes()) {
        kinds.push_back({streamName(type),
                         [type](const SessionOptions& options) { return openOne(type, options); }});
    }
}
