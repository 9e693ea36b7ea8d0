// The HAL interfaces of one camera stream: the stream itself, and exposure control without it.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/ICameraStream.h>
#include <vendor/zelvan/hardware/sensors/1.0/ICameraStreamController.h>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "camera/frame_set_server.h"
#include "camera/mux_control.h"
#include "service.h"

namespace Simulator {

class CameraStreamService : public Service<Hidl::ICameraStream> {
  public:
    CameraStreamService(android::sp<FrameSetServer> server, std::shared_ptr<MuxControl> mux)
        : server_(std::move(server)), mux_(std::move(mux)) {}

    Return<void> getMetadata(getMetadata_cb callback) override;
    Return<void> prepareStream(const ClientIdentity& client,
                               const ClientQueue<Hidl::FrameSet>& queue,
                               const Hidl::FmqConfig& config, prepareStream_cb callback) override;
    Return<void> getConfiguration(const ClientIdentity& client,
                                  getConfiguration_cb callback) override;
    Return<Hidl::Result> controlStream(const ClientIdentity& client,
                                       Hidl::StreamCommand command) override;
    Return<Hidl::Result> startOverridingExposureSettings(const ClientIdentity& client) override;
    Return<Hidl::Result> stopOverridingExposureSettings(const ClientIdentity& client) override;
    Return<void> registerFrameConfigCallback(
        const ClientIdentity& client, const android::sp<Hidl::IFrameConfigCallback>& configCallback,
        registerFrameConfigCallback_cb callback) override;
    Return<void> setExposureGain(const ClientIdentity& client,
                                 const Hidl::ExposureGainSettings& settings) override;
    Return<void> setPhaseOffset(uint64_t offset) override {
        server_->setPhaseOffset(offset);
        return Void();
    }
    Return<Hidl::Result> setCameraSyncMode(Hidl::CameraSyncMode mode) override {
        return server_->setSyncMode(mode);
    }
    Return<Hidl::Result> writeSessionOcalData(
        const android::hardware::hidl_string& name,
        const android::hardware::hidl_vec<uint8_t>& data) override;
    Return<Hidl::Result> setResolution(
        const android::hardware::hidl_vec<Hidl::Resolution>& resolutions) override {
        return server_->setResolutions(resolutions);
    }

    const android::sp<FrameSetServer>& server() const { return server_; }

    /// The names under which clients have written calibration data.
    std::vector<std::string> sessionData() const;

  private:
    const android::sp<FrameSetServer> server_;
    const std::shared_ptr<MuxControl> mux_;
    mutable std::mutex mutex_;
    std::map<std::string, std::vector<uint8_t>> sessionData_;
};

/// Each client that asks gets one of its own. Its overrides end with it.
class CameraStreamController : public Service<Hidl::ICameraStreamController> {
  public:
    explicit CameraStreamController(android::sp<FrameSetServer> server)
        : server_(std::move(server)) {}
    ~CameraStreamController() override { server_->exposure().stopOverriding(this); }

    Return<Hidl::Result> startOverridingExposureSettings() override;
    Return<Hidl::Result> stopOverridingExposureSettings() override;
    Return<Hidl::Result> setExposureGain(uint8_t slot, uint32_t frameSets,
                                         const Hidl::ExposureGainSettings& settings) override;

  private:
    const android::sp<FrameSetServer> server_;
};

}  // namespace Simulator
