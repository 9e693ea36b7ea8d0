// The entry to the cameras, over the HAL's provider interface.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/camera.h>
#include <vendor/zelvan/hardware/sensors/1.0/ICameraProvider.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "foundation/hal.h"
#include "foundation/hal_death_recipient.h"

namespace Vek::Sensors::HidlWrapper {

/// Its only state is the proxy, so it needs no lock. It has no dead state: after the service's
/// death, calls fail in the transport.
class CameraProvider : public ICameraProvider {
  public:
    explicit CameraProvider(gsl::not_null<android::sp<Hidl::ICameraProvider>> hal);

    std::vector<CameraProperties> getProperties() override;
    std::unique_ptr<ICameraStream> getStream(FrameType frameType,
                                             const std::string& clientName) override;
    std::unique_ptr<ICameraStream> getStreamByPurpose(const std::string& purpose,
                                                      const std::string& variant,
                                                      const std::string& clientName) override;
    std::unique_ptr<ICameraStreamController> getStreamController(
        const std::string& purpose, const std::string& variant) override;
    UtilityFrequency getUtilityFrequency() override;
    void setUtilityFrequency(UtilityFrequency frequency) override;
    ChannelSettings getChannels() override;
    void setChannels(ChannelSettings settings) override;
    bool applyMuxMode(const std::string& muxModeName, uint8_t transition) override;
    void setFrameRate(FrameRateSettings settings) override;
    bool getRawImageMode() override;
    void registerDisconnectEventHandler(ServiceDisconnectHandler&& handler) override;
    void startEvery(const std::vector<std::shared_ptr<ICameraStream>>& streams) override;
    void stopEvery(const std::vector<std::shared_ptr<ICameraStream>>& streams) override;

  private:
    void controlEvery(const std::vector<std::shared_ptr<ICameraStream>>& streams,
                      Hidl::StreamCommand command);

    gsl::not_null<android::sp<Hidl::ICameraProvider>> hal_;
    std::unique_ptr<HalDeathRecipient> deathRecipient_;
};

}  // namespace Vek::Sensors::HidlWrapper
