// Each controller has its own player in each stream, which starts when a client enables the
// controller.
#include "replay/played_controllers.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <utility>

#include "controller/provider_service.h"
#include "controller/state_provider_service.h"
#include "registration.h"
#include "replay/recorded_stream.h"
#include "world/world.h"

namespace Simulator {
namespace {

/// The controller's name as a target of faults.
std::string nameOf(const Hidl::PairedControllerInfo& info) {
    const auto* const begin = info.name.data();
    const std::string name(begin, std::find(begin, begin + info.name.size(), 0));
    return name.empty() ? fmt::format("controller-{:x}", info.address.address) : name;
}

/// Makes the controllers, each in its first recorded state, or connected if none was recorded.
std::vector<ControllerDevice> devicesOf(const Playback& playback) {
    std::map<uint64_t, Hidl::PairedControllerInfo> states;
    if (const Recording::StreamInfo* const stream = playback.find("controller-state")) {
        RecordedStream<Hidl::PairedControllerInfo> records(*playback.recording, *stream,
                                                           [](const auto&, const auto&) {});
        for (; records.time(); records.advance()) {
            states.emplace(records.record().address.address, records.record());
        }
    }
    std::vector<ControllerDevice> devices;
    if (playback.controllers.empty()) {
        return devices;
    }
    // The constructor of a model needs a world, but these models are never sampled.
    const auto world = std::make_shared<World>(WorldSettings{});
    for (const uint64_t address : playback.controllers) {
        Hidl::PairedControllerInfo unknown{};
        unknown.address.address = address;
        unknown.connection = Hidl::ControllerConnection::CONNECTED;
        unknown.features = maskOf(Hidl::ControllerFeature::INPUT_ADC);
        const Hidl::PairedControllerInfo& info = states.emplace(address, unknown).first->second;
        devices.emplace_back(
            ControllerIdentity{
                info.address, info.type, info.hand, nameOf(info), "", "", {}, info.features},
            ControllerModel(info.address, "recorded controller", {}, world), true);
        devices.back().setRecorded(info);
    }
    return devices;
}

}  // namespace

PlayedControllers::PlayedControllers(const Playback& playback)
    : playback_(playback),
      fleet_(std::make_shared<ControllerFleet>(playback.faults, playback.timeline->sharedClock(),
                                               devicesOf(playback))),
      poses_(new PoseReceiver(fleet_)) {
    using Streams = ControllerStreams;
    constexpr auto kEnabled = &StreamingListener::enabled;
    playStates();
    play<Hidl::ControllerImuData>("controller-imu", &Streams::imu, kEnabled);
    play<Hidl::ButtonData>("controller-buttons", &Streams::buttons, kEnabled);
    play<Hidl::CurlData>("controller-curl", &Streams::curl, kEnabled);
    play<Hidl::PrecisionPadData>("controller-pad", &Streams::precisionPad, kEnabled);
    play<Hidl::MultiTouchData>("controller-touch", &Streams::multiTouch, kEnabled);
    play<Hidl::StylusData>("controller-stylus", &Streams::stylus, kEnabled);
    play<Hidl::ControllerInputADCData>("controller-adc", &Streams::adc, &StreamingListener::adcs);
    play<Hidl::PoseInput>("controller-pose", &Streams::poses, kEnabled);
    play<Hidl::ControllerCollisionEvent>("controller-collision", &Streams::collisions, kEnabled);
    play<Hidl::WirelessDeviceStats>("controller-link", &Streams::wirelessStats, kEnabled);
    fleet_->onSwitch([this] { followSwitches(); });
}

template <typename Record>
void PlayedControllers::play(const char* name,
                             const ControllerStreams::Stream<Record> ControllerStreams::*stream,
                             ControllerFleet::Switches switches) {
    const Recording::StreamInfo* const recorded = playback_.find(name);
    if (recorded == nullptr) {
        return;
    }
    const ControllerStreams::Stream<Record>& clients = fleet_->streams().*stream;
    std::vector<std::shared_ptr<PlayedPart>> parts;
    for (const uint64_t address : playback_.controllers) {
        const Hidl::ControllerAddr controller{address};
        parts.push_back(std::make_shared<PlayedStream<Record>>(
            *playback_.recording, *recorded, playback_.timeline, clients,
            [this, clients, controller, switches](const Record& record) {
                fleet_->play(clients, record, controller, switches);
            },
            false, address));
        parts_.push_back({parts.back(), controller, switches});
    }
    clients->onBatchLimit([parts](size_t limit) {
        for (const auto& part : parts) {
            part->setStarted(limit > 0);
        }
    });
}

void PlayedControllers::playStates() {
    const Recording::StreamInfo* const recorded = playback_.find("controller-state");
    if (recorded == nullptr) {
        return;
    }
    const auto states = std::make_shared<PlayedStream<Hidl::PairedControllerInfo>>(
        *playback_.recording, *recorded, playback_.timeline, fleet_->streams().stateChanges,
        [this](const Hidl::PairedControllerInfo& info) { fleet_->play(info); });
    fleet_->streams().stateChanges->onBatchLimit(
        [states](size_t limit) { states->setStarted(limit > 0); });
    states_ = states;
}

void PlayedControllers::followSwitches() const {
    for (const Part& part : parts_) {
        part.records->setOn(fleet_->isOn(part.controller, part.switches));
    }
}

std::string PlayedControllers::registerServices() {
    if (playback_.controllers.empty()) {
        return "";
    }
    const auto& faults = playback_.faults;
    return registerAlone(makeService<ControllerProviderService>(faults, fleet_, faults),
                         makeService<ControllerStateProviderService>(faults, fleet_, poses_));
}

void PlayedControllers::stop() {
    poses_->stop();
    if (states_ != nullptr) {
        states_->stop();
    }
    for (const Part& part : parts_) {
        part.records->stop();
    }
    fleet_->stop();
}

std::vector<std::string> PlayedControllers::summary() const {
    return playback_.controllers.empty() ? std::vector<std::string>{} : fleet_->summary();
}

}  // namespace Simulator
