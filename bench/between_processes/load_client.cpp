#include "between_processes/load_client.h"

#include <vek/sensors/controller_provider.h>
#include <vek/sensors/factories.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "between_processes/benchmarks.h"
#include "between_processes/peer.h"

namespace Bench {
namespace {

using namespace Vek::Sensors;

/// A composite and its streams.
class Client {
  public:
    /// @param stream keeps alive what it belongs to; left out if there is no room
    template <typename Data>
    void add(const std::shared_ptr<IDataStream<Data>>& stream) {
        constexpr size_t kMaxStreams = 15;
        constexpr size_t kQueueSize = 256;
        constexpr size_t kLargeRecord = 512;
        if (streams_.size() == kMaxStreams) {
            return;
        }
        // Those of large records are slow; of frame sets, a queue never holds more than one.
        if constexpr (sizeof(Data) < kLargeRecord) {
            stream->setQueueSize(kQueueSize);
        }
        stream->setCallbackv([this](typename IDataStream<Data>::Batch spans) {
            for (const auto& span : spans) {
                seen_.records += static_cast<double>(span.size());
            }
        });
        stream->addTo(*composite_);
        streams_.push_back(stream);
    }

    /// The stream of a sensor that has just one.
    template <typename Data, typename Sensor>
    void addSensor(std::unique_ptr<Sensor> sensor) {
        if (const std::shared_ptr<Sensor> shared = std::move(sensor)) {
            add(std::shared_ptr<IDataStream<Data>>(shared, &shared->stream()));
            addControl([shared] { shared->start(); }, [shared] { shared->stop(); });
        }
    }

    void addControl(std::function<void()> start, std::function<void()> stop) {
        starts_.push_back(std::move(start));
        stops_.push_back(std::move(stop));
    }

    /// Waits on the streams from before they start until after they stop: a queue of one frame set
    /// is soon full. Says with a byte on the channel that they have started; a byte stops them.
    LoadSeen run(const Channel& channel, LoadKind kind) {
        const auto begin = std::chrono::steady_clock::now();
        const double cpuTime = ownCpuTime();
        std::atomic<bool> isOver{false};
        std::thread control{[&] {
            for (const auto& start : starts_) {
                start();
            }
            channel.send('r');
            channel.receive<char>();
            for (const auto& stop : stops_) {
                stop();
            }
            isOver = true;
            composite_->wake();
        }};
        for (; !isOver; ++seen_.waits) {
            if (kind == LoadKind::kPeriodic) {
                std::this_thread::sleep_for(std::chrono::milliseconds{5});
                composite_->waitFor(std::chrono::nanoseconds{0});
            } else {
                composite_->wait();
            }
        }
        control.join();
        seen_.cpuSeconds = (ownCpuTime() - cpuTime) / 1e9;
        seen_.seconds = microsecondsSince(begin) / 1e6;
        seen_.streams = static_cast<double>(streams_.size());
        return seen_;
    }

  private:
    const std::unique_ptr<ICompositeStream> composite_ =
        createStreamCompositor()->createCompositeStream("load");
    std::vector<std::shared_ptr<void>> streams_;
    std::vector<std::function<void()>> starts_;
    std::vector<std::function<void()>> stops_;
    LoadSeen seen_;
};

void addMotion(Client& client, LoadKind kind) {
    constexpr MotionStreamProperties kOwnRate{};
    constexpr MotionStreamProperties kBatched{0, 10};
    constexpr MotionStreamProperties kCalmRate{100, 1};
    const auto provider = createMotionSensorProvider();
    for (const MotionSensorInfo& info : provider->getSensorInfo().sensors) {
        if (auto imu = provider->getImu(info.sensor)) {
            imu->configureStream(kind == LoadKind::kCalm      ? kCalmRate
                                 : kind == LoadKind::kBatched ? kBatched
                                                              : kOwnRate);
            client.addSensor<ImuData>(std::move(imu));
        }
        client.addSensor<MagData>(provider->getMag(info.sensor));
    }
    client.addSensor<IadData>(createIadSensor());
}

void addEnvironment(Client& client) {
    const auto addFrom = [&client](const auto& sensor, auto stream, auto start, auto stop) {
        auto& its = ((*sensor).*stream)();
        client.add(std::shared_ptr<std::remove_reference_t<decltype(its)>>(sensor, &its));
        client.addControl([=] { ((*sensor).*start)(); }, [=] { ((*sensor).*stop)(); });
    };
    using Light = IFlickerSensorProvider;
    using Timing = IExternalTimingProvider;
    const std::shared_ptr<Light> light = createFlickerSensor(nullptr);
    addFrom(light, &Light::flickerStream, &Light::flickerStart, &Light::flickerStop);
    addFrom(light, &Light::adcFlickerStream, &Light::adcFlickerStart, &Light::adcFlickerStop);
    addFrom(light, &Light::ambientLightStream, &Light::ambientLightStart, &Light::ambientLightStop);
    addFrom(std::shared_ptr<Timing>(createExternalTimingProvider()),
            &Timing::streamExternalTimestampData, &Timing::startExternalTimestampDataStream,
            &Timing::stopExternalTimestampDataStream);
}

void addCameras(Client& client) {
    const auto provider = createCameraProvider();
    for (uint32_t i = 0; i < static_cast<uint32_t>(FrameType::NUM_FRAME_TYPES); ++i) {
        client.addSensor<FrameSet>(provider->getStream(static_cast<FrameType>(i), "load"));
    }
}

/// The controllers' samples flow while a client of theirs has them enabled.
struct Controllers {
    HidlWrapper::ControllerProvider provider;
    std::unique_ptr<IControllerStreamingClient> enabled;

    void enable() {
        enabled = provider.getStreamingClient();
        for (const PairedControllerInfo& info : provider.getPairedControllers()) {
            enabled->enable(info.address);
            enabled->controlInputADCStreaming(info.address, true);
        }
    }
};

void addControllers(Client& client, LoadKind kind) {
    const auto controllers = std::make_shared<Controllers>();
    IControllerProvider& provider = controllers->provider;
    client.add(std::shared_ptr(provider.streamPose()));
    if (kind != LoadKind::kCalm) {
        client.add(std::shared_ptr(provider.streamImu()));
    }
    client.add(std::shared_ptr(provider.streamInput()));
    client.add(std::shared_ptr(provider.streamCurl()));
    client.add(std::shared_ptr(provider.streamMultiTouch()));
    client.add(std::shared_ptr(provider.streamPrecisionPad()));
    client.add(std::shared_ptr(provider.streamInputADC()));
    client.add(std::shared_ptr(provider.streamWirelessDeviceStats()));
    client.addControl([controllers] { controllers->enable(); },
                      [controllers] { controllers->enabled.reset(); });
}

}  // namespace

int runLoadClient() {
    const Channel channel{kChildsChannel};
    const auto kind = channel.receive<LoadKind>();
    Client client;
    addMotion(client, kind);
    addEnvironment(client);
    if (kind != LoadKind::kCalm) {
        addCameras(client);
    }
    addControllers(client, kind);
    channel.send(client.run(channel, kind));
    return 0;
}

}  // namespace Bench
