// The HAL interface to all cameras together.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/ICameraProvider.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "camera/camera_stream_service.h"
#include "world/sensor_settings.h"

namespace Simulator {

class CameraProviderService : public Service<Hidl::ICameraProvider> {
  public:
    using String = android::hardware::hidl_string;

    /// @param faults for the stream controllers that it hands out
    CameraProviderService(std::vector<android::sp<CameraStreamService>> streams,
                          std::shared_ptr<MuxControl> mux, std::shared_ptr<Faults> faults);

    Return<void> getProperties(getProperties_cb callback) override;
    Return<void> getCalibrationData(uint32_t cameraId, getCalibrationData_cb callback) override;
    Return<android::sp<Hidl::ICameraStream>> getStream(Hidl::FrameType frameType) override;
    Return<android::sp<Hidl::ICameraStream>> getStreamByPurpose(const String& purpose,
                                                                const String& variant) override;
    Return<android::sp<Hidl::ICameraStreamController>> getStreamController(
        const String& purpose, const String& variant) override;
    Return<Hidl::UtilityFrequency> getUtilityFrequency() override;
    Return<Hidl::Result> setUtilityFrequency(Hidl::UtilityFrequency frequency) override;
    Return<void> getChannels(getChannels_cb callback) override;
    Return<Hidl::Result> setChannels(const Hidl::ChannelSettings& settings) override;
    Return<Hidl::Result> applyMuxMode(const String& name, uint8_t transition) override;
    Return<Hidl::Result> setFrameRate(const Hidl::FrameRateSettings& settings) override;
    Return<bool> getRawImageMode() override { return false; }
    Return<Hidl::Result> controlEvery(
        const android::hardware::hidl_vec<android::sp<Hidl::ICameraStreamControlTarget>>& targets,
        Hidl::StreamCommand command) override;

  private:
    using StreamPointer = android::sp<CameraStreamService>;

    /// Null if there is none.
    StreamPointer streamOf(Hidl::FrameType frameType) const;
    StreamPointer streamOf(const String& purpose, const String& variant) const;
    Hidl::Result controlTarget(const android::sp<Hidl::ICameraStreamControlTarget>& target,
                               Hidl::StreamCommand command) const;

    const std::shared_ptr<Faults> faults_;
    const std::vector<StreamPointer> streams_;
    const std::shared_ptr<MuxControl> mux_;
    std::mutex mutex_;
    Hidl::UtilityFrequency utilityFrequency_ = Hidl::UtilityFrequency::FREQUENCY_50_HZ;
    std::vector<Hidl::FrameType> channels_;
};

}  // namespace Simulator
