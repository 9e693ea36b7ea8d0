// The HAL interface of the hand controllers, for the programs that use them.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IControllerProvider.h>

#include <memory>

#include "controller/controller_fleet.h"
#include "controller/management_client.h"
#include "service.h"

namespace Simulator {

class ControllerProviderService : public Service<Hal::IControllerProvider> {
  public:
    /// @param faults of the clients that it hands out
    ControllerProviderService(std::shared_ptr<ControllerFleet> fleet,
                              std::shared_ptr<Faults> faults);

    Return<void> getPairedControllers(getPairedControllers_cb callback) override;
    Return<bool> setWirelessFreqBlocklist(
        const Hal::ControllerWirelessFreqBlocklist& blocklist) override;
    Return<void> getWirelessFreqBlocklist(getWirelessFreqBlocklist_cb callback) override;
    Return<bool> clearWirelessFreqBlocklist() override;
    Return<void> getHostInfo(getHostInfo_cb callback) override;
    Return<bool> allowDevice(const Hal::SecureDeviceInfo& device) override;
    Return<android::sp<Hal::IControllerManagementClient>> getManagementClient() override;
    Return<android::sp<Hal::IControllerStreamingClient>> getStreamingClient() override;

    Return<Hal::Result> prepareStateChangeStream(
        const ClientQueue<Hal::PairedControllerInfo>& queue, const ClientIdentity& client,
        const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareCurlStream(const ClientQueue<Hal::CurlData>& queue,
                                          const ClientIdentity& client,
                                          const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareImuStream(const ClientQueue<Hal::ControllerImuData>& queue,
                                         const ClientIdentity& client,
                                         const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareButtonStream(const ClientQueue<Hal::ButtonData>& queue,
                                            const ClientIdentity& client,
                                            const Hal::FmqConfig& config) override;
    Return<Hal::Result> preparePrecisionPadStream(const ClientQueue<Hal::PrecisionPadData>& queue,
                                                  const ClientIdentity& client,
                                                  const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareMultiTouchStream(const ClientQueue<Hal::MultiTouchData>& queue,
                                                const ClientIdentity& client,
                                                const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareStylusStream(const ClientQueue<Hal::StylusData>& queue,
                                            const ClientIdentity& client,
                                            const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareWirelessDeviceStatsStream(
        const ClientQueue<Hal::WirelessDeviceStats>& queue, const ClientIdentity& client,
        const Hal::FmqConfig& config) override;
    Return<Hal::Result> preparePoseInputStream(const ClientQueue<Hal::PoseInput>& queue,
                                               const ClientIdentity& client,
                                               const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareInputADCStream(const ClientQueue<Hal::ControllerInputADCData>& queue,
                                              const ClientIdentity& client,
                                              const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareCollisionEventStream(
        const ClientQueue<Hal::ControllerCollisionEvent>& queue, const ClientIdentity& client,
        const Hal::FmqConfig& config) override;

  private:
    /// Takes the client's queue and starts its stream.
    template <typename Record>
    Hal::Result prepare(StreamClients<Record>& stream, const ClientQueue<Record>& queue,
                        const ClientIdentity& client, const Hal::FmqConfig& config);

    const std::shared_ptr<Faults> faults_;
    const std::shared_ptr<ControllerFleet> fleet_;
    const android::sp<ManagementClient> management_;
};

}  // namespace Simulator
