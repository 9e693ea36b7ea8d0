// The HAL interface to all cameras together.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/ICameraProvider.h>

#include <memory>
#include <mutex>
#include <vector>

#include "camera/camera_stream_service.h"
#include "world/sensor_settings.h"

namespace Simulator {

class CameraProviderService : public Service<Hal::ICameraProvider> {
  public:
    using String = android::hardware::hidl_string;

    /// @param faults of the controllers that it hands out
    CameraProviderService(std::vector<android::sp<CameraStreamService>> streams,
                          std::shared_ptr<MuxControl> mux, std::shared_ptr<Faults> faults);

    Return<void> getProperties(getProperties_cb callback) override;
    Return<void> getCalibrationData(uint32_t cameraId, getCalibrationData_cb callback) override;
    Return<android::sp<Hal::ICameraStream>> getStream(Hal::FrameType frameType) override;
    Return<android::sp<Hal::ICameraStream>> getStreamByPurpose(const String& purpose,
                                                               const String& variant) override;
    Return<android::sp<Hal::ICameraStreamController>> getStreamController(
        const String& purpose, const String& variant) override;
    Return<Hal::UtilityFrequency> getUtilityFrequency() override;
    Return<Hal::Result> setUtilityFrequency(Hal::UtilityFrequency frequency) override;
    Return<void> getChannels(getChannels_cb callback) override;
    Return<Hal::Result> setChannels(const Hal::ChannelSettings& settings) override;
    Return<Hal::Result> applyMuxMode(const String& name, uint8_t transition) override;
    Return<Hal::Result> setFrameRate(const Hal::FrameRateSettings& settings) override;
    Return<bool> getRawImageMode() override { return false; }
    Return<Hal::Result> controlEvery(
        const android::hardware::hidl_vec<android::sp<Hal::ICameraStreamControlTarget>>& targets,
        Hal::StreamCommand command) override;

  private:
    using StreamPointer = android::sp<CameraStreamService>;

    /// Null if there is none.
    StreamPointer streamOf(Hal::FrameType frameType) const;
    StreamPointer streamOf(const String& purpose, const String& variant) const;
    Hal::Result controlTarget(const android::sp<Hal::ICameraStreamControlTarget>& target,
                              Hal::StreamCommand command) const;

    const std::shared_ptr<Faults> faults_;
    const std::vector<StreamPointer> streams_;
    const std::shared_ptr<MuxControl> mux_;
    std::mutex mutex_;
    Hal::UtilityFrequency utilityFrequency_ = Hal::UtilityFrequency::FREQUENCY_50_HZ;
    std::vector<Hal::FrameType> channels_;
};

}  // namespace Simulator
