// Opens the motion streams through the public factories.
#include "stream_kinds.h"

#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "failure.h"
#include "motion/motion_fields.h"

using namespace Vek::Sensors;

namespace {

// Room for a second of samples: printing to a slow terminal must not drop any.
constexpr size_t kImuQueueSize = 1024;
constexpr size_t kMagQueueSize = 128;
constexpr size_t kIadQueueSize = 32;

using Streams = std::vector<std::unique_ptr<SensorStream>>;

template <typename Data, typename Sensor>
Streams streamOf(const std::string& name, std::unique_ptr<Sensor> sensor, size_t queueSize) {
    const std::shared_ptr<Sensor> shared(std::move(sensor));
    Streams streams;
    streams.push_back(std::make_unique<TypedSensorStream<Data>>(
        name, shared->stream(),
        StreamControl{[shared] { shared->start(); }, [shared] { shared->stop(); }}, queueSize,
        [](const Data& record) { return originOf(record); }));
    return streams;
}

Streams openImu(const SessionOptions& options) {
    const MotionStreamProperties& wanted = options.imu;
    auto imu = requireService(createImuSensor(), "IImu");
    if (wanted.sampleRate != 0 || wanted.batchSize != 0) {
        // Checked here, because a refusal by the service would end this process.
        const float limit = imu->props().maxSampleRate;
        if (static_cast<float>(wanted.sampleRate) > limit) {
            throw Failure(ExitCode::USAGE,
                          fmt::format("--rate {} is above the {} Hz that the IMU allows",
                                      wanted.sampleRate, limit));
        }
        imu->configureStream(wanted);
    }
    const size_t queueSize = std::max(kImuQueueSize, size_t{wanted.batchSize} * 4);
    return streamOf<ImuData>("imu", std::move(imu), queueSize);
}

Streams openMag(const SessionOptions& /*options*/) {
    return streamOf<MagData>("mag", requireService(createMagSensor(), "IMag"), kMagQueueSize);
}

Streams openIad(const SessionOptions& /*options*/) {
    return streamOf<IadData>("iad", requireService(createIadSensor(), "IIad"), kIadQueueSize);
}

}  // namespace

void addMotionStreams(std::vector<StreamKind>& kinds) {
    kinds.push_back({"imu", openImu});
    kinds.push_back({"mag", openMag});
    kinds.push_back({"iad", openIad});
}
