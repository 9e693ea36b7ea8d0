// The provider of the hand controllers, the only adapter that clients construct themselves.
#pragma once

#include <vek/sensors/controller.h>
#include <vek/sensors/export.h>

#include <memory>
#include <vector>

namespace Vek::Sensors::HidlWrapper {

struct ControllerService;

/// Holds nothing but its reference to the service.
class VEK_SENSORS_EXPORT ControllerProvider : public IControllerProvider {
  public:
    /// Looks up the service's instance "default". If the service is not running, this ends the
    /// process: unlike a factory, it cannot return an empty pointer.
    ControllerProvider();
    ~ControllerProvider() override;

    ControllerProvider(const ControllerProvider&) = delete;
    ControllerProvider& operator=(const ControllerProvider&) = delete;

    std::unique_ptr<IDataStream<PairedControllerInfo>> streamStateChanges() override;
    std::unique_ptr<IDataStream<CurlData>> streamCurl() override;
    std::unique_ptr<IDataStream<ControllerImuData>> streamImu() override;
    std::unique_ptr<IDataStream<ButtonData>> streamInput() override;
    std::unique_ptr<IDataStream<PrecisionPadData>> streamPrecisionPad() override;
    std::unique_ptr<IDataStream<MultiTouchData>> streamMultiTouch() override;
    std::unique_ptr<IDataStream<StylusData>> streamStylus() override;
    std::unique_ptr<IDataStream<WirelessDeviceStats>> streamWirelessDeviceStats() override;
    std::unique_ptr<IDataStream<PoseInput>> streamPose() override;
    std::unique_ptr<IDataStream<ControllerInputADCData>> streamInputADC() override;
    std::unique_ptr<IDataStream<ControllerCollisionEvent>> streamCollisionEvent() override;

    std::unique_ptr<IControllerManagementClient> getManagementClient() override;
    std::unique_ptr<IControllerStreamingClient> getStreamingClient() override;
    std::vector<PairedControllerInfo> getPairedControllers() override;
    bool setWirelessFreqBlocklist(const ControllerWirelessFreqBlocklist& blocklist) override;
    bool getWirelessFreqBlocklist(ControllerWirelessFreqBlocklist& blocklist) override;
    bool clearWirelessFreqBlocklist() override;
    SecureHostInfo getHostInfo() override;
    bool allowDevice(SecureDeviceInfo device) override;

  private:
    std::unique_ptr<ControllerService> service_;
};

}  // namespace Vek::Sensors::HidlWrapper
