// The hand controllers of a recording, and the service that offers them.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "controller/controller_fleet.h"
#include "controller/pose_receiver.h"
#include "device_group.h"
#include "replay/playback.h"

namespace Simulator {

/// What one controller sent in one stream, or all of them. Plays while a client has started the
/// stream and has it on for the controller.
class PlayedController : public PlayedPart {
  public:
    virtual void setStarted(bool isStarted) = 0;
    virtual void setOn(bool isOn) = 0;
};

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

    struct Part {
        std::shared_ptr<PlayedController> records;
        Hal::ControllerAddr controller;
        ControllerFleet::Switches switches;
    };

    const Playback playback_;
    const std::vector<uint64_t> addresses_;
    const std::shared_ptr<ControllerFleet> fleet_;
    const android::sp<PoseReceiver> poses_;
    std::vector<Part> parts_;
    std::shared_ptr<PlayedPart> states_;
};

}  // namespace Simulator
