// A camera stream over its HAL interface.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/camera.h>
#include <vendor/zelvan/hardware/sensors/1.0/ICameraStream.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "camera/camera_stream_control_target.h"
#include "camera/dual_stream_handle.h"
#include "foundation/hal.h"

namespace Vek::Sensors::HidlWrapper {

/// Destroying a stream does not stop it at the service.
class CameraStream : public ICameraStream {
  public:
    CameraStream(gsl::not_null<android::sp<Hidl::ICameraStream>> stream,
                 const std::string& clientName);

    CameraStreamMetadata getMetadata() override;
    IDataStream<FrameSet>& stream() override;
    CameraStreamConfiguration getConfiguration() override;
    void start() override;
    void stop() override;
    void startOverridingExposureSettings() override;
    void stopOverridingExposureSettings() override;
    FrameSetConfigurationUpdate registerFrameSetConfigurationUpdateCallback(
        std::function<void(const FrameSetConfigurationUpdate&)> callback) override;
    void setExposureGain(ExposureGainSettings settings) override;
    void setPhaseOffset(uint64_t offset) override;
    void setCameraSyncMode(CameraSyncMode mode) override;
    void writeSessionOcalData(const std::string& name, gsl::span<const uint8_t> data) override;
    bool setResolution(std::vector<Resolution> resolutions) override;
    const android::sp<CameraStreamControlTarget>& streamControlTarget() override;

  private:
    gsl::not_null<android::sp<Hidl::ICameraStream>> hal_;
    DualStreamHandle<FrameSet, Hidl::FrameSet> stream_;
    android::sp<CameraStreamControlTarget> streamControlTarget_;
};

}  // namespace Vek::Sensors::HidlWrapper
