#include "areas.h"

#include <vek/sensors/controller_provider.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

#include <atomic>
#include <sstream>
#include <string>

namespace Soak {
namespace {

using namespace Vek::Sensors;

constexpr ControllerAddr kController{0x5A'00'00'00'00'01};
constexpr ControllerAddr kRpcController{0x5A'00'00'00'00'01};
constexpr uint32_t kImuRate = 1000;  // Hz
// Enough for a machine that is busy for seconds. Not larger, because all of its pages are soon in
// use, and memory is measured.
constexpr size_t kFastQueue = 4096;
constexpr size_t kSlowQueue = 64;

class Motion final : public Area {
  public:
    explicit Motion(uint32_t batch) : batch_(batch) {}

    bool lookUp() override {
        provider_ = createMotionSensorProvider();
        imu_ = createImuSensor();
        mag_ = createMagSensor();
        return provider_ != nullptr && imu_ != nullptr && mag_ != nullptr;
    }
    void prepare(Streams& streams) override {
        imu_->configureStream({kImuRate, batch_});
        streams.add(imu_->stream(), kFastQueue);
        streams.add(mag_->stream(), kFastQueue / 8);
    }
    void start() override {
        imu_->start();
        mag_->start();
    }
    bool call() override { return !imu_->props().name.empty(); }
    void stop() override {
        imu_->stop();
        mag_->stop();
    }

  private:
    const uint32_t batch_;
    std::unique_ptr<IMotionSensorProvider> provider_;
    std::unique_ptr<IImuSensor> imu_;
    std::unique_ptr<IMagSensor> mag_;
};

class Cameras final : public Area {
  public:
    explicit Cameras(uint32_t frameRate) : frameRate_(static_cast<FrameRate>(frameRate)) {}

    bool lookUp() override {
        provider_ = createCameraProvider();
        if (provider_ == nullptr) {
            return false;
        }
        provider_->registerDisconnectEventHandler({onDeath, this});
        return true;
    }
    void prepare(Streams& streams) override {
        provider_->setFrameRate({{frameRate_}, {FrameType::EYE}});
        camera_ = provider_->getStream(FrameType::EYE, "soak");
        metadata_ = camera_->getMetadata();
        streams.add(camera_->stream(), 0);
    }
    void start() override { camera_->start(); }
    bool call() override { return camera_->getConfiguration().cameras.size() == 2; }
    void stop() override { camera_->stop(); }

  private:
    /// May be called at any time until the provider is destroyed.
    static void onDeath(const void* context) { ++static_cast<const Cameras*>(context)->deaths_; }

    const FrameRate frameRate_;
    mutable std::atomic<uint32_t> deaths_{0};
    std::unique_ptr<ICameraProvider> provider_;
    std::unique_ptr<ICameraStream> camera_;
    CameraStreamMetadata metadata_;
};

/// A user of the controllers, and the owner of their state.
class Controllers final : public Area {
  public:
    bool lookUp() override {
        owner_ = createControllerStateProvider();
        if (owner_ == nullptr) {
            return false;
        }
        provider_ = std::make_unique<HidlWrapper::ControllerProvider>();
        return true;
    }
    void prepare(Streams& streams) override {
        client_ = provider_->getStreamingClient();
        samples_ = provider_->streamImu();
        buttons_ = provider_->streamInput();
        streams.add(*samples_, kFastQueue);
        streams.add(*buttons_, kFastQueue);
        owner_->preparePoseOutputStream();
    }
    void start() override {
        client_->enable(kController);
        owner_->startPoseOutputStream();
    }
    void send() override {
        pose_.controller = kController;
        pose_.orientation = {1, 0, 0, 0};
        ++pose_.sequence;
        owner_->sendPose(pose_);
    }
    bool call() override {
        client_->setSimpleHaptics(kController, 1);  // also returns false if the service is dead
        return !client_->getCalibrationData(kController).data.empty();
    }
    void stop() override {
        owner_->stopPoseOutputStream();
        client_->disable(kController);
    }
    void abandon() override {
        static auto& abandoned = *new std::vector<std::unique_ptr<IControllerStreamingClient>>;
        abandoned.push_back(std::move(client_));
    }

  private:
    std::unique_ptr<IControllerStateProvider> owner_;
    std::unique_ptr<HidlWrapper::ControllerProvider> provider_;
    std::unique_ptr<IControllerStreamingClient> client_;
    std::unique_ptr<IDataStream<ControllerImuData>> samples_;
    std::unique_ptr<IDataStream<ButtonData>> buttons_;
    PoseOutput pose_{};
};

class Environment final : public Area {
  public:
    explicit Environment(std::string rpcClient) : rpcClient_(std::move(rpcClient)) {}

    bool lookUp() override {
        light_ = createFlickerSensor(nullptr);
        timing_ = createExternalTimingProvider();
        leds_ = createFaceEyeTrackingLed();
        rpc_ = createTambStream();
        return light_ != nullptr && timing_ != nullptr && leds_ != nullptr && rpc_ != nullptr;
    }
    void prepare(Streams& streams) override {
        streams.add(light_->flickerStream(), kSlowQueue);
        streams.add(light_->adcFlickerStream(), kSlowQueue);
        streams.add(light_->ambientLightStream(), kSlowQueue);
        streams.add(timing_->streamExternalTimestampData(), kSlowQueue);
        if (rpcClient_ != kNobody) {
            rpc_->registerKivraRpcClient(rpcClient_, [](const KivraRpcMessage& /*message*/) {});
        }
    }
    void start() override {
        light_->flickerStart();
        light_->adcFlickerStart();
        light_->ambientLightStart();
        timing_->startExternalTimestampDataStream();
    }
    bool call() override {
        std::vector<uint8_t> payload(kKivraRpcMaxPayloadSize);
        return rpcClient_ == kNobody || rpc_->sendKivraRpcMsg(kRpcController, 1, payload);
    }
    void stop() override {
        light_->flickerStop();
        light_->adcFlickerStop();
        light_->ambientLightStop();
        timing_->stopExternalTimestampDataStream();
        if (rpcClient_ != kNobody) {
            rpc_->unregisterKivraRpcClient(rpcClient_);
        }
    }

  private:
    const std::string rpcClient_;
    std::unique_ptr<IFlickerSensorProvider> light_;
    std::unique_ptr<IExternalTimingProvider> timing_;
    std::unique_ptr<IFaceEyeTrackingLed> leds_;
    std::unique_ptr<ITambStream> rpc_;
};

}  // namespace

std::vector<std::unique_ptr<Area>> areasOf(const ClientPlan& plan) {
    std::vector<std::unique_ptr<Area>> areas;
    std::istringstream names{plan.areas};
    for (std::string name; std::getline(names, name, ',');) {
        if (name == "motion") {
            areas.push_back(std::make_unique<Motion>(plan.motionBatch));
        } else if (name == "cameras") {
            areas.push_back(std::make_unique<Cameras>(plan.frameRate));
        } else if (name == "controllers") {
            areas.push_back(std::make_unique<Controllers>());
        } else {
            areas.push_back(std::make_unique<Environment>(plan.rpcClient));
        }
    }
    return areas;
}

}  // namespace Soak
