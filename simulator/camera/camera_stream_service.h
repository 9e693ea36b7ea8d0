// The HAL interfaces of one camera stream: the stream itself, and exposure control without it.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/ICameraStream.h>
#include <vendor/zelvan/hardware/sensors/1.0/ICameraStreamController.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "camera/frame_set_server.h"
#include "camera/mux_control.h"
#include "service.h"

namespace Simulator {

class CameraStreamService : public Service<Hal::ICameraStream> {
  public:
    CameraStreamService(android::sp<FrameSetServer> server, std::shared_ptr<MuxControl> mux)
        : server_(std::move(server)), mux_(std::move(mux)) {}

    Return<void> getMetadata(getMetadata_cb callback) override;
    Return<void> prepareStream(const ClientIdentity& client,
                               const ClientQueue<Hal::FrameSet>& queue,
                               const Hal::FmqConfig& config, prepareStream_cb callback) override;
    Return<void> getConfiguration(const ClientIdentity& client,
                                  getConfiguration_cb callback) override;
    Return<Hal::Result> controlStream(const ClientIdentity& client,
                                      Hal::StreamCommand command) override;
    Return<Hal::Result> startOverridingExposureSettings(const ClientIdentity& client) override;
    Return<Hal::Result> stopOverridingExposureSettings(const ClientIdentity& client) override;
    Return<void> registerFrameConfigCallback(
        const ClientIdentity& client, const android::sp<Hal::IFrameConfigCallback>& configCallback,
        registerFrameConfigCallback_cb callback) override;
    Return<void> setExposureGain(const ClientIdentity& client,
                                 const Hal::ExposureGainSettings& settings) override;
    Return<void> setPhaseOffset(uint64_t offset) override;
    Return<Hal::Result> setCameraSyncMode(Hal::CameraSyncMode mode) override;
    Return<Hal::Result> writeSessionOcalData(
        const android::hardware::hidl_string& name,
        const android::hardware::hidl_vec<uint8_t>& data) override;
    Return<Hal::Result> setResolution(
        const android::hardware::hidl_vec<Hal::Resolution>& resolutions) override;

    const android::sp<FrameSetServer>& server() const { return server_; }

    /// The names of what clients have written.
    std::vector<std::string> sessionData() const;

  private:
    const android::sp<FrameSetServer> server_;
    const std::shared_ptr<MuxControl> mux_;
    mutable std::mutex mutex_;
    std::map<std::string, std::vector<uint8_t>> sessionData_;
};

/// One for each client that asks. What it overrides ends with it.
class CameraStreamController : public Service<Hal::ICameraStreamController> {
  public:
    explicit CameraStreamController(android::sp<FrameSetServer> server)
        : server_(std::move(server)) {}
    ~CameraStreamController() override { server_->exposure().stopOverriding(this); }

    Return<Hal::Result> startOverridingExposureSettings() override;
    Return<Hal::Result> stopOverridingExposureSettings() override;
    Return<Hal::Result> setExposureGain(uint8_t slot, uint32_t frameSets,
                                        const Hal::ExposureGainSettings& settings) override;

  private:
    const android::sp<FrameSetServer> server_;
};

}  // namespace Simulator
