// The HAL interface of the hand controllers, for the programs that use them.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IControllerProvider.h>

#include <memory>

#include "controller/controller_fleet.h"
#include "controller/management_client.h"
#include "service.h"

namespace Simulator {

class ControllerProviderService : public Service<Hidl::IControllerProvider> {
  public:
    /// @param faults for the client objects that it hands out
    ControllerProviderService(std::shared_ptr<ControllerFleet> fleet,
                              std::shared_ptr<Faults> faults);

    Return<void> getPairedControllers(getPairedControllers_cb callback) override;
    Return<bool> setWirelessFreqBlocklist(
        const Hidl::ControllerWirelessFreqBlocklist& blocklist) override;
    Return<void> getWirelessFreqBlocklist(getWirelessFreqBlocklist_cb callback) override;
    Return<bool> clearWirelessFreqBlocklist() override;
    Return<void> getHostInfo(getHostInfo_cb callback) override;
    Return<bool> allowDevice(const Hidl::SecureDeviceInfo& device) override;
    Return<android::sp<Hidl::IControllerManagementClient>> getManagementClient() override;
    Return<android::sp<Hidl::IControllerStreamingClient>> getStreamingClient() override;

    Return<Hidl::Result> prepareStateChangeStream(
        const ClientQueue<Hidl::PairedControllerInfo>& queue, const ClientIdentity& client,
        const Hidl::FmqConfig& config) override;
    Return<Hidl::Result> prepareCurlStream(const ClientQueue<Hidl::CurlData>& queue,
                                           const ClientIdentity& client,
                                           const Hidl::FmqConfig& config) override;
    Return<Hidl::Result> prepareImuStream(const ClientQueue<Hidl::ControllerImuData>& queue,
                                          const ClientIdentity& client,
                                          const Hidl::FmqConfig& config) override;
    Return<Hidl::Result> prepareButtonStream(const ClientQueue<Hidl::ButtonData>& queue,
                                             const ClientIdentity& client,
                                             const Hidl::FmqConfig& config) override;
    Return<Hidl::Result> preparePrecisionPadStream(const ClientQueue<Hidl::PrecisionPadData>& queue,
                                                   const ClientIdentity& client,
                                                   const Hidl::FmqConfig& config) override;
    Return<Hidl::Result> prepareMultiTouchStream(const ClientQueue<Hidl::MultiTouchData>& queue,
                                                 const ClientIdentity& client,
                                                 const Hidl::FmqConfig& config) override;
    Return<Hidl::Result> prepareStylusStream(const ClientQueue<Hidl::StylusData>& queue,
                                             const ClientIdentity& client,
                                             const Hidl::FmqConfig& config) override;
    Return<Hidl::Result> prepareWirelessDeviceStatsStream(
        const ClientQueue<Hidl::WirelessDeviceStats>& queue, const ClientIdentity& client,
        const Hidl::FmqConfig& config) override;
    Return<Hidl::Result> preparePoseInputStream(const ClientQueue<Hidl::PoseInput>& queue,
                                                const ClientIdentity& client,
                                                const Hidl::FmqConfig& config) override;
    Return<Hidl::Result> prepareInputADCStream(
        const ClientQueue<Hidl::ControllerInputADCData>& queue, const ClientIdentity& client,
        const Hidl::FmqConfig& config) override;
    Return<Hidl::Result> prepareCollisionEventStream(
        const ClientQueue<Hidl::ControllerCollisionEvent>& queue, const ClientIdentity& client,
        const Hidl::FmqConfig& config) override;

  private:
    /// Takes the client's queue and starts its stream.
    template <typename Record>
    Hidl::Result prepare(StreamClients<Record>& stream, const ClientQueue<Record>& queue,
                         const ClientIdentity& client, const Hidl::FmqConfig& config);

    const std::shared_ptr<Faults> faults_;
    const std::shared_ptr<ControllerFleet> fleet_;
    const android::sp<ManagementClient> management_;
};

}  // namespace Simulator
