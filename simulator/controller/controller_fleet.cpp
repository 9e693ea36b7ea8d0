#include "controller/controller_fleet.h"

#include <fmt/format.h>
#include <log/log.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "client_register.h"
#include "time_units.h"

namespace Simulator {
namespace {

using Hidl::ControllerFeature;
using Hidl::Result;
using Hidl::WirelessState;

constexpr uint32_t kInputRate = 100;  // Hz
constexpr SamplingPlan kInputPlan{kInputRate, 1};
constexpr SamplingPlan kImuPlan{500, 1};
constexpr uint32_t kChannels = 32;
constexpr std::chrono::seconds kPairingTime{10};
constexpr size_t kMaxListeners = 128;
constexpr size_t kMostDevices = 3;

constexpr uint32_t features(std::initializer_list<ControllerFeature> list) {
    uint32_t set = 0;
    for (const ControllerFeature feature : list) {
        set |= maskOf(feature);
    }
    return set;
}

constexpr uint32_t kCommonFeatures =
    features({ControllerFeature::BUTTONS, ControllerFeature::IMU, ControllerFeature::POSE,
              ControllerFeature::COLLISION_EVENTS, ControllerFeature::SIMPLE_HAPTICS,
              ControllerFeature::BUFFERED_HAPTICS, ControllerFeature::PCM_HAPTICS,
              ControllerFeature::LED, ControllerFeature::SECURE_PAIRING});
constexpr uint32_t kHandheldFeatures =
    kCommonFeatures | features({ControllerFeature::THUMBSTICK, ControllerFeature::CURL,
                                ControllerFeature::PRECISION_PAD, ControllerFeature::MULTI_TOUCH,
                                ControllerFeature::INPUT_ADC});

constexpr uint32_t kStylusFeatures = kCommonFeatures | features({ControllerFeature::STYLUS});

ControllerDevice makeHandheld(uint64_t address, Hand hand,
                              const std::shared_ptr<const World>& world) {
    const bool isLeft = hand == Hand::kLeft;
    const std::string name = isLeft ? "left controller" : "right controller";
    return {{{address},
             Hidl::ControllerType::HANDHELD,
             isLeft ? Hidl::ControllerHand::LEFT : Hidl::ControllerHand::RIGHT,
             name,
             "Zelvan hand controller",
             fmt::format("SIM-C{}", address & 0xF),
             {'H', 'C', '-', isLeft ? uint8_t{'L'} : uint8_t{'R'}, '1'},
             kHandheldFeatures},
            ControllerModel({address}, name, {hand, Pose{}, isLeft ? 0.0 : 1.0}, world),
            true};
}

ControllerDevice makeStylus(uint64_t address, const std::shared_ptr<const World>& world) {
    const std::string name = "stylus";
    const Pose betweenFingers{turnBy({-0.6, 0, 0}), {0, 0.06, 0.02}};
    return {{{address},
             Hidl::ControllerType::STYLUS,
             Hidl::ControllerHand::UNSPECIFIED,
             name,
             "Zelvan stylus",
             fmt::format("SIM-C{}", address & 0xF),
             {'S', 'T', '-', 'A', '1'},
             kStylusFeatures},
            ControllerModel({address}, name, {Hand::kRight, betweenFingers, 2}, world),
            false};
}

Hidl::ControllerInputData asInput(const Hidl::ButtonData& record) {
    Hidl::ControllerInputData input;
    input.buttons(record);
    return input;
}
Hidl::ControllerInputData asInput(const Hidl::CurlData& record) {
    Hidl::ControllerInputData input;
    input.curl(record);
    return input;
}
Hidl::ControllerInputData asInput(const Hidl::PrecisionPadData& record) {
    Hidl::ControllerInputData input;
    input.precisionPad(record);
    return input;
}
Hidl::ControllerInputData asInput(const Hidl::MultiTouchData& record) {
    Hidl::ControllerInputData input;
    input.multiTouch(record);
    return input;
}
Hidl::ControllerInputData asInput(const Hidl::StylusData& record) {
    Hidl::ControllerInputData input;
    input.stylus(record);
    return input;
}

void set(std::set<uint64_t>* switches, Hidl::ControllerAddr controller, bool isOn) {
    if (isOn) {
        switches->insert(controller.address);
    } else {
        switches->erase(controller.address);
    }
}

}  // namespace

ControllerFleet::ControllerFleet(const ControllerSettings& settings,
                                 const std::shared_ptr<Faults>& faults,
                                 std::shared_ptr<WorldClock> clock,
                                 const std::shared_ptr<const World>& world)
    : ControllerFleet(settings, faults, std::move(clock), true) {
    {
        const std::lock_guard lock{mutex_};
        devices_.push_back(makeHandheld(0x5A'00'00'00'00'01, Hand::kLeft, world));
        devices_.push_back(makeHandheld(0x5A'00'00'00'00'02, Hand::kRight, world));
        devices_.push_back(makeStylus(0x5A'00'00'00'00'03, world));
    }
    streams_.onChange([clock = clock_] { clock->settle(); });
    begin();
}

ControllerFleet::ControllerFleet(const std::shared_ptr<Faults>& faults,
                                 std::shared_ptr<WorldClock> clock,
                                 std::vector<ControllerDevice> devices)
    : ControllerFleet(ControllerSettings{}, faults, std::move(clock), false) {
    {
        const std::lock_guard lock{mutex_};
        devices_ = std::move(devices);
    }
    begin();
}

ControllerFleet::ControllerFleet(const ControllerSettings& settings,
                                 const std::shared_ptr<Faults>& faults,
                                 std::shared_ptr<WorldClock> clock, bool isSampled)
    : settings_(settings),
      streams_(faults),
      faults_(faults),
      clock_(std::move(clock)),
      isSampled_(isSampled),
      imuSampler_(kImuPlan, clock_, [this](const Batch& batch) { takeImuSamples(batch); }),
      inputSampler_(
          kInputPlan, clock_, [this](const Batch& batch) { takeInputs(batch); },
          Sampler::Role::FOLLOWS) {}

void ControllerFleet::begin() {
    {
        const std::lock_guard lock{mutex_};
        for (const ControllerDevice& device : devices_) {
            faults_->addTarget(FaultTarget::CONTROLLER, device.identity().name);
        }
    }
    inputSampler_.setBatchLimit(1);
}

ControllerDevice* ControllerFleet::findLocked(Hidl::ControllerAddr address) {
    const auto found = std::find_if(devices_.begin(), devices_.end(), [&](const auto& device) {
        return device.identity().address.address == address.address;
    });
    return found == devices_.end() ? nullptr : &*found;
}

ControllerDevice* ControllerFleet::findPairedLocked(Hidl::ControllerAddr address) {
    ControllerDevice* const device = findLocked(address);
    return device != nullptr && device->isPaired() ? device : nullptr;
}

std::vector<Hidl::PairedControllerInfo> ControllerFleet::paired() const {
    std::vector<Hidl::PairedControllerInfo> infos;
    const std::lock_guard lock{mutex_};
    for (const ControllerDevice& device : devices_) {
        if (device.isPaired()) {
            infos.push_back(device.info());
        }
    }
    return infos;
}

std::vector<Hidl::AdvertisingControllerInfo> ControllerFleet::advertising() const {
    std::vector<Hidl::AdvertisingControllerInfo> infos;
    const std::lock_guard lock{mutex_};
    for (const ControllerDevice& device : devices_) {
        if (!device.isPaired()) {
            infos.push_back(device.advertisement());
        }
    }
    return infos;
}

Result ControllerFleet::pair(Hidl::ControllerAddr address) {
    const std::lock_guard lock{mutex_};
    ControllerDevice* const device = findLocked(address);
    const Result result = device == nullptr ? Result::FAILURE : device->pair(now());
    publishLocked();
    return result;
}

Result ControllerFleet::unpair(Hidl::ControllerAddr address) {
    const std::lock_guard lock{mutex_};
    ControllerDevice* const device = findPairedLocked(address);
    const Result result = device == nullptr ? Result::FAILURE : device->unpair(now());
    if (result == Result::SUCCESS) {
        for (const auto& listener : listeners_) {
            listener->enabled.erase(address.address);
            listener->adcs.erase(address.address);
        }
        updateImuSamplerLocked();
        publishLocked();
    }
    return result;
}

bool ControllerFleet::add(const std::shared_ptr<StreamingListener>& listener) {
    const std::lock_guard lock{mutex_};
    if (isFull(listeners_, kMaxListeners, listener->process)) {
        return false;
    }
    listeners_.push_back(listener);
    return true;
}

void ControllerFleet::remove(const std::shared_ptr<StreamingListener>& listener) {
    {
        const std::lock_guard lock{mutex_};
        listeners_.erase(std::remove(listeners_.begin(), listeners_.end(), listener),
                         listeners_.end());
        updateImuSamplerLocked();
        for (ControllerDevice& device : devices_) {
            if (device.hapticsOwner == listener.get()) {
                device.haptics.stop(now());
                device.hapticsOwner = nullptr;
            }
        }
        publishLocked();
    }
    notifySwitch();
}

bool ControllerFleet::enable(StreamingListener* listener, Hidl::ControllerAddr address, bool isOn) {
    {
        const std::lock_guard lock{mutex_};
        if (findPairedLocked(address) == nullptr) {
            return false;
        }
        set(&listener->enabled, address, isOn);
        updateImuSamplerLocked();
    }
    clock_->settle();
    notifySwitch();
    return true;
}

bool ControllerFleet::enableAdc(StreamingListener* listener, Hidl::ControllerAddr address,
                                bool isOn) {
    {
        const std::lock_guard lock{mutex_};
        const ControllerDevice* const device = findPairedLocked(address);
        if (device == nullptr || !device->has(ControllerFeature::INPUT_ADC)) {
            return false;
        }
        set(&listener->adcs, address, isOn);
    }
    clock_->settle();
    notifySwitch();
    return true;
}

void ControllerFleet::updateImuSamplerLocked() {
    const bool isAnyEnabled =
        std::any_of(listeners_.begin(), listeners_.end(),
                    [](const auto& listener) { return !listener->enabled.empty(); });
    imuSampler_.setBatchLimit(isSampled_ && isAnyEnabled ? 1 : 0);
}

bool ControllerFleet::setTransmitPowerBoost(int8_t boost) {
    constexpr int8_t kMaxBoost = 10;
    if (boost < 0 || boost > kMaxBoost) {
        return false;
    }
    const std::lock_guard lock{mutex_};
    transmitPowerBoost_ = boost;
    return true;
}

bool ControllerFleet::setMaxTransmitPower(int8_t power) {
    if (power < -kMostTransmitPower || power > kMostTransmitPower) {
        return false;
    }
    const std::lock_guard lock{mutex_};
    maxTransmitPower_ = power;
    return true;
}

bool ControllerFleet::setBlocklist(uint32_t channels) {
    if (channels == UINT32_MAX) {
        return false;
    }
    const std::lock_guard lock{mutex_};
    blocklist_ = channels;
    return true;
}

uint32_t ControllerFleet::blocklist() const {
    const std::lock_guard lock{mutex_};
    return blocklist_;
}

void ControllerFleet::enterPairingMode() {
    const std::lock_guard lock{mutex_};
    pairingUntil_ = now() + kPairingTime;
    publishLocked();
}

void ControllerFleet::completePairing() {
    const std::lock_guard lock{mutex_};
    pairingUntil_ = {};
    publishLocked();
}

std::optional<uint32_t> ControllerFleet::nextMessage(Hidl::ControllerAddr address) {
    const std::lock_guard lock{mutex_};
    ControllerDevice* const device = findPairedLocked(address);
    return device == nullptr ? std::nullopt : std::optional(device->sequences.messages++);
}

void ControllerFleet::setTracked(bool isTracked) {
    const std::lock_guard lock{mutex_};
    isTracked_ = isTracked;
}

std::function<bool(int process)> ControllerFleet::listenersOf(
    Switches switches, Hidl::ControllerAddr controller) const {
    return [this, switches, controller](int process) {
        return std::any_of(listeners_.begin(), listeners_.end(), [&](const auto& listener) {
            return listener->process == process &&
                   ((*listener).*switches).count(controller.address) > 0;
        });
    };
}

void ControllerFleet::play(const Hidl::PairedControllerInfo& info) {
    const std::lock_guard lock{mutex_};
    ControllerDevice* const device = findPairedLocked(info.address);
    if (device != nullptr) {
        device->setRecorded(info);
    }
    streams_.stateChanges->write({device == nullptr ? info : device->info()});
}

bool ControllerFleet::isOn(Hidl::ControllerAddr controller, Switches switches) const {
    const std::lock_guard lock{mutex_};
    return std::any_of(listeners_.begin(), listeners_.end(), [&](const auto& listener) {
        return ((*listener).*switches).count(controller.address) > 0;
    });
}

/// Call it without the lock: the function calls isOn().
void ControllerFleet::notifySwitch() const {
    if (onSwitch_) {
        onSwitch_();
    }
}

bool ControllerFleet::deliverPose(const Hidl::PoseOutput& pose) {
    const std::lock_guard lock{mutex_};
    ControllerDevice* const device = findPairedLocked(pose.controller);
    if (device == nullptr) {
        return false;
    }
    writePoseLocked(device, pose);
    return true;
}

/// Renumbers the poses, because they may come from more than one sender.
void ControllerFleet::writePoseLocked(ControllerDevice* device, const Hidl::PoseOutput& pose) {
    Hidl::PoseInput record = toPoseInput(pose);
    record.sequence = device->sequences.poses++;
    streams_.poses->write({record}, listenersOf(&StreamingListener::enabled, record.controller));
}

void ControllerFleet::stop() {
    streams_.endWaits();
    imuSampler_.stop();
    inputSampler_.stop();
}

void ControllerFleet::takeImuSamples(const Batch& batch) {
    SampleInstant instant = instantOf(batch, 0);
    if (clock_->isPacedByClients() && !streams_.imu->awaitRoom(kMostDevices)) {
        return;
    }
    const std::lock_guard lock{mutex_};
    for (ControllerDevice& device : devices_) {
        if (device.isSampled()) {
            instant.sequence = device.sequences.imu++;
            streams_.imu->write(
                {device.model.imu(instant, device.temperature())},
                listenersOf(&StreamingListener::enabled, device.identity().address));
        }
    }
}

void ControllerFleet::takeInputs(const Batch& batch) {
    const Time now = batch.arrival;
    const SampleInstant instant = instantOf(batch, 0);
    if (!isSampled_) {
        // A playback has nothing to sample, but faults must be applied.
        const std::lock_guard lock{mutex_};
        for (ControllerDevice& device : devices_) {
            device.suffer(faults_->onController(device.identity().name), now);
        }
        publishLocked();
        return;
    }
    if (clock_->isPacedByClients() && !streams_.awaitRoom(kMostDevices)) {
        return;
    }
    const std::lock_guard lock{mutex_};
    ++ticks_;
    for (ControllerDevice& device : devices_) {
        device.advance(now);
        device.suffer(faults_->onController(device.identity().name), now);
        if (!device.isSampled()) {
            continue;
        }
        writeInputsLocked(&device, instant);
        if (ticks_ % kInputRate == 0) {
            writeLinkStatisticsLocked(device, instant.timestamp);
        }
    }
    publishLocked();
}

void ControllerFleet::writeInputsLocked(ControllerDevice* device, SampleInstant instant) {
    const Hidl::ControllerAddr address = device->identity().address;
    const auto listeners = listenersOf(&StreamingListener::enabled, address);
    const ControllerModel& model = device->model;
    instant.sequence = device->sequences.inputs++;
    const auto write = [&](ControllerFeature feature, const auto& stream, const auto& record) {
        if (device->has(feature)) {
            stream->write({record}, listeners);
            streams_.inputs->write({asInput(record)});
        }
    };
    write(ControllerFeature::BUTTONS, streams_.buttons,
          model.buttons(instant, device->thumbstick()));
    write(ControllerFeature::CURL, streams_.curl, model.curl(instant));
    write(ControllerFeature::PRECISION_PAD, streams_.precisionPad, model.precisionPad(instant));
    write(ControllerFeature::MULTI_TOUCH, streams_.multiTouch, model.multiTouch(instant));
    write(ControllerFeature::STYLUS, streams_.stylus, model.stylus(instant));
    if (device->has(ControllerFeature::INPUT_ADC)) {
        const auto on = listenersOf(&StreamingListener::adcs, address);
        streams_.adc->write({model.adc(instant)},
                            [&](int process) { return listeners(process) && on(process); });
    }
    if (!isTracked_) {
        writePoseLocked(device, model.pose(instant));
    }
    instant.sequence = device->sequences.collisions;
    if (const auto collision = model.collision(instant)) {
        ++device->sequences.collisions;
        streams_.collisions->write({*collision}, listeners);
    }
}

void ControllerFleet::writeLinkStatisticsLocked(const ControllerDevice& device, int64_t now) {
    constexpr uint32_t kFirstFrequency = 2404;  // MHz
    constexpr uint32_t kChannelWidth = 2;       // MHz
    constexpr int32_t kTransmitPower = 4;       // dBm
    // The radio hops from one allowed channel to the next.
    uint32_t channel = static_cast<uint32_t>(ticks_ / kInputRate) % kChannels;
    while ((blocklist_ >> channel & 1U) != 0) {
        channel = (channel + 1) % kChannels;
    }
    Hidl::WirelessDeviceStats record{};
    record.controller = device.identity().address;
    record.timestamp = now;
    record.packetsReceived = kInputRate;
    record.packetsLost = channel % 3;
    record.retransmissions = channel % 5;
    record.frequency = kFirstFrequency + kChannelWidth * channel;
    record.signalStrength = -45 - static_cast<int32_t>(channel % 8);
    record.transmitPower = std::min(kTransmitPower + transmitPowerBoost_, maxTransmitPower_);
    record.latency = 1500;
    record.dataRate = 2'000'000;
    streams_.wirelessStats->write({record},
                                  listenersOf(&StreamingListener::enabled, record.controller));
}

WirelessState ControllerFleet::radioStateLocked(Time now) const {
    const auto isAny = [this](Hidl::ControllerConnection connection) {
        return std::any_of(devices_.begin(), devices_.end(), [connection](const auto& device) {
            return device.connection() == connection;
        });
    };
    if (now < pairingUntil_ || isAny(Hidl::ControllerConnection::CONNECTING)) {
        return WirelessState::PAIRING;
    }
    if (isAny(Hidl::ControllerConnection::CONNECTED)) {
        return WirelessState::CONNECTED;
    }
    return isAny(Hidl::ControllerConnection::ASLEEP) ? WirelessState::LOST
                                                     : WirelessState::SCANNING;
}

void ControllerFleet::publishLocked() {
    const Time now = this->now();
    for (ControllerDevice& device : devices_) {
        if (device.takeChange()) {
            streams_.stateChanges->write({device.info()});
        }
        Hidl::HapticsState haptics{};
        if (device.haptics.takeChange(now, &haptics)) {
            haptics.controller = device.identity().address;
            haptics.timestamp = toNanoseconds(now);
            streams_.haptics->write({haptics});
        }
    }
    const WirelessState state = radioStateLocked(now);
    if (state != radioState_) {
        streams_.wirelessStates->write({{radioState_, state}});
        radioState_ = state;
    }
}

std::vector<std::string> ControllerFleet::summary() const {
    std::vector<std::string> lines = streams_.summary();
    if (const uint64_t missed = inputSampler_.missedSamples() + imuSampler_.missedSamples()) {
        lines.push_back(fmt::format(
            "controllers: {} samples were not taken: the machine was too busy", missed));
    }
    const std::lock_guard lock{mutex_};
    for (const ControllerDevice& device : devices_) {
        const HapticsRecord& record = device.haptics.record();
        lines.push_back(fmt::format(
            "{} haptics: {} commands played, {} buffered samples, {} PCM frames, {} refused",
            device.identity().name, record.commands, record.bufferedSamples, record.pcmFrames,
            record.refused));
    }
    return lines;
}

}  // namespace Simulator
