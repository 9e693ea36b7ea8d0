// Client programs of the hand controllers, against the simulated service in its own process.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "end_to_end/environment.h"
#include "end_to_end/inbox.h"

namespace {

using namespace std::chrono_literals;
using TestSupport::EndToEndTest;
using TestSupport::Inbox;
using TestSupport::receiveUntil;
using TestSupport::Simulator;
using namespace Vek::Sensors;

constexpr ControllerAddr kLeft{0x5A'00'00'00'00'01};

class ControllerEndToEndTest : public EndToEndTest {
  protected:
    std::unique_ptr<ICompositeStream> composite_ = TestSupport::makeComposite();
};

TEST_F(ControllerEndToEndTest, ElevenStreamsOfThreeControllersArriveWithMotionWithoutLoss) {
    const Simulator simulator;
    HidlWrapper::ControllerProvider provider;
    Inbox<PairedControllerInfo> states(provider.streamStateChanges(), *composite_);
    Inbox<ControllerImuData> imu(provider.streamImu(), *composite_);
    Inbox<ButtonData> buttons(provider.streamInput(), *composite_);
    Inbox<CurlData> curl(provider.streamCurl(), *composite_);
    Inbox<PrecisionPadData> pad(provider.streamPrecisionPad(), *composite_);
    Inbox<MultiTouchData> touch(provider.streamMultiTouch(), *composite_);
    Inbox<StylusData> stylus(provider.streamStylus(), *composite_);
    Inbox<WirelessDeviceStats> link(provider.streamWirelessDeviceStats(), *composite_);
    Inbox<PoseInput> poses(provider.streamPose(), *composite_);
    Inbox<ControllerInputADCData> adc(provider.streamInputADC(), *composite_);
    Inbox<ControllerCollisionEvent> collisions(provider.streamCollisionEvent(), *composite_);
    const auto headsetImu = createImuSensor();
    const auto mag = createMagSensor();
    const auto iad = createIadSensor();
    Inbox<ImuData> headsetSamples(headsetImu->stream(), *composite_);
    Inbox<MagData> magSamples(mag->stream(), *composite_);
    Inbox<IadData> iadSamples(iad->stream(), *composite_);

    const auto advertising = provider.getManagementClient()->getAdvertisingControllers();
    ASSERT_EQ(advertising.size(), 1U);
    ASSERT_EQ(provider.getManagementClient()->pairController(advertising[0].address),
              ControllerResult::SUCCESS);
    EXPECT_TRUE(receiveUntil(*composite_, [&] {
        return std::any_of(states.records.begin(), states.records.end(), [&](const auto& info) {
            return info.address == advertising[0].address &&
                   info.connection == ControllerConnection::CONNECTED;
        });
    }));
    const auto client = provider.getStreamingClient();
    const auto paired = provider.getPairedControllers();
    ASSERT_EQ(paired.size(), 3U);
    for (const PairedControllerInfo& info : paired) {
        const bool hasAdc = info.features[CONTROLLER_FEATURE_INPUT_ADC];
        EXPECT_EQ(client->controlInputADCStreaming(info.address, true), hasAdc);
        client->enable(info.address);
    }
    headsetImu->start();
    mag->start();
    iad->start();
    const auto isTriggerReleasedAfterAPress = [&] {
        const auto is = [](bool isPressed) {
            return [isPressed](const ButtonData& record) {
                return record.header.controller == kLeft &&
                       record.pressed[CONTROLLER_BUTTON_TRIGGER] == isPressed;
            };
        };
        const auto press = std::find_if(buttons.records.begin(), buttons.records.end(), is(true));
        return std::find_if(press, buttons.records.end(), is(false)) != buttons.records.end();
    };
    EXPECT_TRUE(receiveUntil(*composite_, [&] {
        return headsetSamples.records.size() >= 1000 && !magSamples.records.empty() &&
               !iadSamples.records.empty() && imu.records.size() >= 1000 &&
               collisions.records.size() >= 3 && link.records.size() >= 3 &&
               isTriggerReleasedAfterAPress();
    }));
    for (const PairedControllerInfo& info : paired) {
        client->disable(info.address);
    }
    composite_->waitFor(0ns);

    EXPECT_EQ(imu.lost() + poses.lost() + collisions.lost() + buttons.lost(), 0U);
    EXPECT_EQ(headsetSamples.lost() + magSamples.lost(), 0U);
    // The rest is not numbered, but taken together with the buttons.
    const auto ofHandhelds = static_cast<size_t>(std::count_if(
        buttons.records.begin(), buttons.records.end(),
        [&](const auto& record) { return record.header.controller != advertising[0].address; }));
    EXPECT_GT(ofHandhelds, 100U);
    EXPECT_EQ(curl.records.size(), ofHandhelds);
    EXPECT_EQ(pad.records.size(), ofHandhelds);
    EXPECT_EQ(touch.records.size(), ofHandhelds);
    EXPECT_EQ(adc.records.size(), ofHandhelds);
    EXPECT_EQ(stylus.records.size(), buttons.records.size() - ofHandhelds);
    EXPECT_EQ(poses.records.size(), buttons.records.size());
}

TEST_F(ControllerEndToEndTest, FirmwareUpdateReportsItsProgressToTheEndOrToItsFailure) {
    struct Case {
        std::vector<std::string> faults;
        std::vector<float> progress;
        bool isUpdated;
    };
    const Case cases[] = {{{}, {0, 0.25F, 0.5F, 0.75F, 1}, true},
                          {{"--fail-firmware-at", "0.5"}, {0, 0.25F, 0.5F}, false}};
    for (const Case& c : cases) {
        std::vector<std::string> options{"--firmware-seconds", "0.1"};
        options.insert(options.end(), c.faults.begin(), c.faults.end());
        const Simulator simulator(options);
        HidlWrapper::ControllerProvider provider;
        const auto composite = TestSupport::makeComposite();
        Inbox<PairedControllerInfo> states(provider.streamStateChanges(), *composite);
        const auto before = provider.getPairedControllers().front();
        struct Reports {
            std::mutex mutex;
            std::vector<float> values;
            std::set<std::thread::id> threads;
        };
        const auto reports = std::make_shared<Reports>();
        // The client may go before the update has ended.
        EXPECT_EQ(provider.getManagementClient()->updateFirmware(
                      before.address, before.type,
                      {[reports](float progress) {
                           const std::lock_guard lock{reports->mutex};
                           reports->values.push_back(progress);
                           reports->threads.insert(std::this_thread::get_id());
                       },
                       0, 0.25F}),
                  ControllerResult::SUCCESS);
        const auto isUpdating = [&](const auto& info) {
            return info.address == before.address && info.features[CONTROLLER_FEATURE_UPDATING];
        };
        EXPECT_TRUE(receiveUntil(*composite, [&] {
            const auto begin =
                std::find_if(states.records.begin(), states.records.end(), isUpdating);
            return std::any_of(begin, states.records.end(), [&](const auto& info) {
                return info.address == before.address && !isUpdating(info);
            });
        }));
        const std::lock_guard lock{reports->mutex};
        EXPECT_EQ(reports->values, c.progress);
        EXPECT_EQ(reports->threads.count(std::this_thread::get_id()), 0U);
        EXPECT_EQ(provider.getPairedControllers().front().firmwareVersion != before.firmwareVersion,
                  c.isUpdated);
    }
}

TEST_F(ControllerEndToEndTest, OwnerOfTheStateGetsHapticsRadioStatesAndInputsOfAllKinds) {
    const Simulator simulator;
    HidlWrapper::ControllerProvider provider;
    const auto owner = createControllerStateProvider();
    Inbox<HapticsState> haptics(owner->streamHapticsState(), *composite_);
    Inbox<WirelessStateTransition> radio(owner->streamWirelessStateTransition(), *composite_);
    Inbox<ControllerInputData> inputs(owner->streamControllerInputData(), *composite_);
    owner->startHapticsStateStream();
    owner->startWirelessStateTransitionStream();
    owner->startControllerInputDataStream();

    const auto awaitHaptics = [&](size_t count) {
        EXPECT_TRUE(receiveUntil(*composite_, [&] { return haptics.records.size() >= count; }));
        return haptics.records.at(count - 1);
    };
    auto client = provider.getStreamingClient();
    EXPECT_TRUE(client->setSimpleHaptics(kLeft, 51));
    EXPECT_EQ(awaitHaptics(1).controller, kLeft);
    EXPECT_FLOAT_EQ(haptics.records[0].amplitude, 0.2F);
    const std::vector<uint8_t> samples(255, 255);
    // So slow that none is played before the test is over.
    EXPECT_TRUE(client->setBufferedHaptics(kLeft, 1e-3, 255, false, samples.data()));
    EXPECT_EQ(awaitHaptics(2).bufferedSamples, 255U);
    EXPECT_TRUE(client->appendBufferedHaptics(kLeft, 10, samples.data()));
    EXPECT_EQ(awaitHaptics(3).bufferedSamples, 265U);
    EXPECT_EQ(haptics.records[2].activity, HapticsActivity::PLAYING);
    client = nullptr;
    EXPECT_EQ(awaitHaptics(4).activity, HapticsActivity::IDLE);

    EXPECT_NE(owner->enterPairingMode(), ControllerAddr{});
    const std::array<uint8_t, 16> key{};
    EXPECT_TRUE(owner->setPairingInfo({}, key.data()));
    EXPECT_TRUE(receiveUntil(*composite_, [&] { return radio.records.size() >= 2; }));
    EXPECT_EQ(radio.records[0].previous, WirelessState::CONNECTED);
    EXPECT_EQ(radio.records[0].current, WirelessState::PAIRING);
    EXPECT_EQ(radio.records[1].previous, WirelessState::PAIRING);
    EXPECT_EQ(radio.records[1].current, WirelessState::CONNECTED);

    // Only a stylus sends the fifth kind.
    const auto management = provider.getManagementClient();
    EXPECT_EQ(management->pairController(management->getAdvertisingControllers().at(0).address),
              ControllerResult::SUCCESS);
    std::set<ControllerInputData::Kind> kinds;
    EXPECT_TRUE(receiveUntil(*composite_, [&] {
        for (const ControllerInputData& input : inputs.records) {
            kinds.insert(input.kind);
        }
        return kinds.size() >= 5;
    }));
    owner->stopHapticsStateStream();
    owner->stopWirelessStateTransitionStream();
    owner->stopControllerInputDataStream();
}

TEST_F(ControllerEndToEndTest, PosesOfTheOwnerReachTheUsersInOrderAndNoneIsLost) {
    constexpr uint32_t kPoses = 3000;
    const Simulator simulator;
    HidlWrapper::ControllerProvider provider;
    const auto client = provider.getStreamingClient();
    Inbox<PoseInput> poses(provider.streamPose(), *composite_);
    client->enable(kLeft);
    const auto owner = createControllerStateProvider();
    owner->preparePoseOutputStream();
    owner->startPoseOutputStream();
    size_t refused = 0;
    for (uint32_t i = 0; i < kPoses; ++i) {
        PoseOutput pose{};
        pose.controller = kLeft;
        pose.timestamp = -static_cast<int64_t>(i) - 1;  // no simulated hand's
        pose.position[0] = static_cast<float>(i);
        pose.orientation[3] = 1;
        pose.sequence = i;
        while (!owner->sendPose(pose)) {
            ++refused;
            std::this_thread::yield();
        }
    }
    EXPECT_TRUE(receiveUntil(*composite_, [&] {
        return !poses.records.empty() && poses.records.back().position[0] == kPoses - 1;
    }));
    owner->stopPoseOutputStream();
    float next = 0;
    for (const PoseInput& pose : poses.records) {
        if (pose.timestamp < 0) {
            ASSERT_EQ(pose.position[0], next++);
        }
    }
    EXPECT_EQ(next, kPoses);
    EXPECT_EQ(poses.lost(), 0U);
    // The simulated hands take over again.
    EXPECT_TRUE(poses.receive(1));
}

}  // namespace
