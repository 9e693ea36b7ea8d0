// A client of the simulated service that does nothing wrong, while others do.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "end_to_end/inbox.h"
#include "support/child_process.h"

namespace TestSupport {

/// Takes what the headset's motion sensor and cameras and the left controller measure, as well as
/// poses, if somebody sends some, and exchanges messages.
class Bystander {
  public:
    /// @param rpcClient the id that it has for its messages
    explicit Bystander(const char* rpcClient = "tracking") : rpcClient_(rpcClient) {
        camera_->stream().setCallbackv([this](const auto&) { ++frameSets_; });
        camera_->stream().addTo(*composite_);
        camera_->start();
        imu_->start();
        controllerClient_->enable(Vek::Sensors::ControllerAddr{0x5A'00'00'00'00'01});
        tamb_->registerKivraRpcClient(rpcClient_, [all = messages_](const auto&) { ++*all; });
    }
    ~Bystander() { tamb_->unregisterKivraRpcClient(rpcClient_); }
    Bystander(const Bystander&) = delete;
    Bystander& operator=(const Bystander&) = delete;

    /// Whether more of everything comes within a generous bound, and no sample was ever lost.
    bool isServed() {
        std::vector<uint8_t> payload{1, 2, 3};
        const size_t messages = *messages_;
        const size_t frameSets = frameSets_;
        return tamb_->sendKivraRpcMsg(Vek::Sensors::ControllerAddr{0x5A'00'00'00'00'01}, 7,
                                      payload) &&
               motion_.receive(100) && controller_.receive(50) &&
               receiveUntil(*composite_, [&] { return frameSets_ > frameSets + 3; }) &&
               becomesTrue([&] { return *messages_ > messages + 20; }) &&
               motion_.lost() + controller_.lost() + poses_.lost() == 0;
    }

  private:
    const std::string rpcClient_;
    const std::unique_ptr<Vek::Sensors::ICompositeStream> composite_ = makeComposite();
    const std::unique_ptr<Vek::Sensors::IImuSensor> imu_ = Vek::Sensors::createImuSensor();
    const std::unique_ptr<Vek::Sensors::ICameraStream> camera_ =
        Vek::Sensors::createCameraProvider()->getStream(Vek::Sensors::FrameType::HEADSET, "test");
    Vek::Sensors::HidlWrapper::ControllerProvider controllers_;
    Inbox<Vek::Sensors::ImuData> motion_{imu_->stream(), *composite_};
    Inbox<Vek::Sensors::ControllerImuData> controller_{controllers_.streamImu(), *composite_};
    Inbox<Vek::Sensors::PoseInput> poses_{controllers_.streamPose(), *composite_};
    const std::unique_ptr<Vek::Sensors::IControllerStreamingClient> controllerClient_ =
        controllers_.getStreamingClient();
    const std::unique_ptr<Vek::Sensors::ITambStream> tamb_ = Vek::Sensors::createTambStream();
    size_t frameSets_ = 0;
    const std::shared_ptr<std::atomic<size_t>> messages_ = std::make_shared<std::atomic<size_t>>(0);
};

}  // namespace TestSupport
