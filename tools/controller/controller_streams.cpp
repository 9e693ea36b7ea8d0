// Opens the controllers' streams and enables the samples of all paired controllers.
#include "stream_kinds.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "controller/controller_access.h"
#include "controller/controller_fields.h"

using namespace Vek::Sensors;

namespace {

constexpr char kAllControllers[] = "controllers";

// Room for a second of three controllers' samples: printing to a slow terminal must not drop any.
constexpr size_t kControllerQueueSize = 2048;
constexpr size_t kInputQueueSize = 512;
constexpr size_t kEventQueueSize = 64;

using Provider = std::shared_ptr<IControllerProvider>;

/// Enables the samples of the controllers that are paired when the run starts.
class SampleSwitch {
  public:
    explicit SampleSwitch(Provider provider) : provider_(std::move(provider)) {}
    ~SampleSwitch() {
        // If off() was not called, the service is dead; the client's destructor would call it.
        static_cast<void>(client_.release());
    }
    SampleSwitch(const SampleSwitch&) = delete;
    SampleSwitch& operator=(const SampleSwitch&) = delete;

    void on() {
        if (client_ != nullptr) {
            return;
        }
        client_ = provider_->getStreamingClient();
        for (const PairedControllerInfo& info : provider_->getPairedControllers()) {
            client_->enable(info.address);
            if (info.features[CONTROLLER_FEATURE_INPUT_ADC]) {
                client_->controlInputADCStreaming(info.address, true);
            }
        }
    }

    /// Destroying the client disables what it has enabled.
    void off() { client_.reset(); }

  private:
    const Provider provider_;
    std::unique_ptr<IControllerStreamingClient> client_;
};

using Switch = std::shared_ptr<SampleSwitch>;
/// Address of the only wanted controller; empty: all.
using Filter = std::optional<uint64_t>;
using OpenStream = std::unique_ptr<SensorStream> (*)(const std::string&, IControllerProvider&,
                                                     const Switch&, Filter);

template <typename Data, std::unique_ptr<IDataStream<Data>> (IControllerProvider::*make)(),
          size_t queueSize>
std::unique_ptr<SensorStream> openStream(const std::string& name, IControllerProvider& provider,
                                         const Switch& samples, Filter wanted) {
    const std::shared_ptr<IDataStream<Data>> stream((provider.*make)());
    return std::make_unique<TypedSensorStream<Data>>(
        name, *stream,
        StreamControl{[samples, stream] { samples->on(); }, [samples] { samples->off(); }},
        queueSize, [wanted](const Data& record) -> std::optional<RecordOrigin> {
            const RecordOrigin origin = originOf(record);
            return !wanted || origin.source == *wanted ? std::optional(origin) : std::nullopt;
        });
}

using Api = IControllerProvider;
constexpr std::pair<const char*, OpenStream> kStreams[] = {
    {"controller-state",
     openStream<PairedControllerInfo, &Api::streamStateChanges, kEventQueueSize>},
    {"controller-imu", openStream<ControllerImuData, &Api::streamImu, kControllerQueueSize>},
    {"controller-buttons", openStream<ButtonData, &Api::streamInput, kInputQueueSize>},
    {"controller-curl", openStream<CurlData, &Api::streamCurl, kInputQueueSize>},
    {"controller-pad", openStream<PrecisionPadData, &Api::streamPrecisionPad, kInputQueueSize>},
    {"controller-touch", openStream<MultiTouchData, &Api::streamMultiTouch, kInputQueueSize>},
    {"controller-stylus", openStream<StylusData, &Api::streamStylus, kInputQueueSize>},
    {"controller-adc", openStream<ControllerInputADCData, &Api::streamInputADC, kInputQueueSize>},
    {"controller-pose", openStream<PoseInput, &Api::streamPose, kControllerQueueSize>},
    {"controller-collision",
     openStream<ControllerCollisionEvent, &Api::streamCollisionEvent, kEventQueueSize>},
    {"controller-link",
     openStream<WirelessDeviceStats, &Api::streamWirelessDeviceStats, kEventQueueSize>},
};

/// @param isWanted predicate for the names of streams.
template <typename Wanted>
std::vector<std::unique_ptr<SensorStream>> openThose(const SessionOptions& options,
                                                     const Wanted& isWanted) {
    const Provider provider = requireControllers();
    Filter controller;
    if (!options.controller.empty()) {
        controller = static_cast<uint64_t>(findPaired(*provider, options.controller).address);
    }
    const auto samples = std::make_shared<SampleSwitch>(provider);
    std::vector<std::unique_ptr<SensorStream>> streams;
    for (const auto& [name, open] : kStreams) {
        if (isWanted(name)) {
            streams.push_back(open(name, *provider, samples, controller));
        }
    }
    return streams;
}

}  // namespace

void addControllerStreams(std::vector<StreamKind>& kinds) {
    kinds.push_back({kAllControllers, [](const SessionOptions& options) {
                         // Streams that the user also named individually are opened under their own
                         // names.
                         return openThose(options, [&options](const std::string& name) {
                             return std::find(options.streams.begin(), options.streams.end(),
                                              name) == options.streams.end();
                         });
                     }});
    for (const auto& stream : kStreams) {
        const std::string wanted = stream.first;
        kinds.push_back({wanted,
                         [wanted](const SessionOptions& options) {
                             return openThose(options, [&wanted](const std::string& name) {
                                 return name == wanted;
                             });
                         },
                         true});
    }
}
