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

/// The controllers can be commanded, but do only what they did. Who owns their state finds its
/// service, with streams that stay silent.
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

    /// What one controller sent in one stream: on while a client has it on for the controller.
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
