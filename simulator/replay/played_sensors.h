// The motion sensors and the environment's sensors of a recording, and the services that offer
// them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "device_group.h"
#include "replay/playback.h"

namespace Simulator {

/// Registers the services of the sensors that were recorded, and no others.
class PlayedSensors : public DeviceGroup {
  public:
    /// Throws Recording::Error.
    explicit PlayedSensors(const Playback& playback);

    std::string registerServices() override;
    void stop() override;
    std::vector<std::string> summary() const override;

  private:
    /// @return null if the stream is not played
    template <typename Record>
    android::sp<StreamClients<Record>> play(const char* stream);

    const Playback playback_;
    std::vector<std::shared_ptr<PlayedPart>> parts_;
};

}  // namespace Simulator
