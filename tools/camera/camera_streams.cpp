// Opens camera streams through the public factory.
#include "stream_kinds.h"

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

/// Those of the types that the device has. Throws Failure if it has none of them.
Streams openStreams(const std::string& name, const std::vector<FrameType>& types) {
    const auto provider = requireService(createCameraProvider(), "ICameraProvider");
    Streams streams;
    for (const FrameType type : types) {
        if (auto camera = provider->getStream(type, "sensorctl")) {
            const std::shared_ptr<ICameraStream> shared(std::move(camera));
            streams.push_back(std::make_unique<TypedSensorStream<FrameSet>>(
                streamName(type), shared->stream(),
                StreamControl{[shared] { shared->start(); }, [shared] { shared->stop(); }},
                std::nullopt));
        }
    }
    if (streams.empty()) {
        throw Failure(ExitCode::USAGE, name + ": the service has no such cameras");
    }
    return streams;
}

Streams openAll(const SessionOptions& /*options*/) {
    return openStreams(kAllCameras, streamFrameTypes());
}

Streams openOne(FrameType type, const SessionOptions& options) {
    const auto& chosen = options.streams;
    const bool isAmongAll = std::find(chosen.begin(), chosen.end(), kAllCameras) != chosen.end();
    return isAmongAll ? Streams() : openStreams(streamName(type), {type});
}

}  // namespace

void addCameraStreams(std::vector<StreamKind>& kinds) {
    kinds.push_back({kAllCameras, openAll});
    for (const FrameType type : streamFrameTypes()) {
        kinds.push_back({streamName(type),
                         [type](const SessionOptions& options) { return openOne(type, options); }});
    }
}
