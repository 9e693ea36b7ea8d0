// The hand controllers of a recording, and the service that offers them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "controller/controller_fleet.h"
#include "controller/pose_receiver.h"
#include "device_group.h"
#include "replay/playback.h"

namespace Simulator {

/// Controllers accept commands, but their records stay as recorded. The service for the owner of
/// their state exists, but its streams have no records.
class PlayedControllers : public DeviceGroup {
  public:
    /// Throws Recording::Error.
    explicit PlayedControllers(const Playback& playback);

    /// Registers nothing if no controller was recorded.
    std::string registerServices() override;
    void stop() override;
    std::vector<std::string> summary() const override;

  private:
    template <typename Record>
    void play(const char* name, const ControllerStreams::Stream<Record> ControllerStreams::*stream,
              ControllerFleet::Switches switches);
    void playStates();
    void followSwitches() const;

    /// The records of one controller in one stream. Played while a client has enabled the
    /// controller.
    struct Part {
        std::shared_ptr<PlayedPart> records;
        Hidl::ControllerAddr controller;
        ControllerFleet::Switches switches;
    };

    const Playback playback_;
    const std::shared_ptr<ControllerFleet> fleet_;
    const android::sp<PoseReceiver> poses_;
    std::vector<Part> parts_;
    std::shared_ptr<PlayedPart> states_;
};

}  // namespace Simulator
