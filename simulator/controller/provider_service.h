// The HAL interface of the hand controllers, for the programs that use them.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IControllerProvider.h>

#include <memory>

#include "controller/controller_fleet.h"
#include "controller/management_client.h"
#include "faults.h"
#include "hal.h"

namespace Simulator {

class ControllerProviderService : public Hal::IControllerProvider {
  public:
    ControllerProviderService(std::shared_ptr<ControllerFleet> fleet,
                              std::shared_ptr<const Faults> faults);

    template <typename T>
    using Return = android::hardware::Return<T>;
    template <typename Record>
    using Queue = android::hardware::MQDescriptorSync<Record>;
    using Client = android::sp<Hal::ISensorClient>;

    Return<void> getPairedControllers(getPairedControllers_cb callback) override;
    Return<bool> setWirelessFreqBlocklist(
        const Hal::ControllerWirelessFreqBlocklist& blocklist) override;
    Return<void> getWirelessFreqBlocklist(getWirelessFreqBlocklist_cb callback) override;
    Return<bool> clearWirelessFreqBlocklist() override;
    Return<void> getHostInfo(getHostInfo_cb callback) override;
    Return<bool> allowDevice(const Hal::SecureDeviceInfo& device) override;
    Return<android::sp<Hal::IControllerManagementClient>> getManagementClient() override;
    Return<android::sp<Hal::IControllerStreamingClient>> getStreamingClient() override;

    Return<Hal::Result> prepareStateChangeStream(const Queue<Hal::PairedControllerInfo>& queue,
                                                 const Client& client,
                                                 const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareCurlStream(const Queue<Hal::CurlData>& queue, const Client& client,
                                          const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareImuStream(const Queue<Hal::ControllerImuData>& queue,
                                         const Client& client,
                                         const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareButtonStream(const Queue<Hal::ButtonData>& queue,
                                            const Client& client,
                                            const Hal::FmqConfig& config) override;
    Return<Hal::Result> preparePrecisionPadStream(const Queue<Hal::PrecisionPadData>& queue,
                                                  const Client& client,
                                                  const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareMultiTouchStream(const Queue<Hal::MultiTouchData>& queue,
                                                const Client& client,
                                                const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareStylusStream(const Queue<Hal::StylusData>& queue,
                                            const Client& client,
                                            const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareWirelessDeviceStatsStream(
        const Queue<Hal::WirelessDeviceStats>& queue, const Client& client,
        const Hal::FmqConfig& config) override;
    Return<Hal::Result> preparePoseInputStream(const Queue<Hal::PoseInput>& queue,
                                               const Client& client,
                                               const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareInputADCStream(const Queue<Hal::ControllerInputADCData>& queue,
                                              const Client& client,
                                              const Hal::FmqConfig& config) override;
    Return<Hal::Result> prepareCollisionEventStream(
        const Queue<Hal::ControllerCollisionEvent>& queue, const Client& client,
        const Hal::FmqConfig& config) override;

  private:
    bool isFaulty(const char* method) const;
    /// Takes the client's queue and starts its stream.
    template <typename Record>
    Hal::Result prepare(const char* method, StreamClients<Record>& stream,
                        const Queue<Record>& queue, const Client& client,
                        const Hal::FmqConfig& config);

    const std::shared_ptr<ControllerFleet> fleet_;
    const std::shared_ptr<const Faults> faults_;
    const android::sp<ManagementClient> management_;
};

}  // namespace Simulator
