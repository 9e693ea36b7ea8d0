// The cameras of a recording, and the service that offers them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "camera/camera_devices.h"
#include "device_group.h"
#include "replay/playback.h"
#include "replay/recorded_images.h"

namespace Simulator {

/// Frame sets follow the same rules as those of the simulated world: shared buffers that clients
/// return. The cameras' settings cannot change what was recorded.
class PlayedCameras : public DeviceGroup {
  public:
    /// Throws Recording::Error.
    explicit PlayedCameras(const Playback& playback);
    ~PlayedCameras() override;

    /// Registers nothing if no camera was recorded.
    std::string registerServices() override;
    void stop() override;
    std::vector<std::string> summary() const override;

  private:
    /// A stream's records and what plays them.
    struct Stream {
        std::unique_ptr<PlayedRecords> records;
        std::unique_ptr<Player> player;
    };

    const Playback playback_;
    const std::shared_ptr<RecordedImages> images_;
    std::unique_ptr<CameraDevices> devices_;
    std::vector<Stream> streams_;
};

}  // namespace Simulator
