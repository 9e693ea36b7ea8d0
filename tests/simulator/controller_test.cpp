// The simulated hand controllers through their HAL interfaces, in the test's own process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <future>
#include <limits>
#include <memory>
#include <vector>

#include "controller/firmware_update.h"
#include "controller/pose_receiver.h"
#include "controller/provider_service.h"
#include "controller/state_provider_service.h"
#include "support/client_end.h"
#include "support/refused_calls.h"

namespace {

using namespace Simulator;
using namespace std::chrono_literals;
using Hidl::ControllerConnection;
using Hidl::HapticsActivity;
using Hidl::Result;
using ::testing::ElementsAre;
using TestSupport::ClientEnd;

constexpr Hidl::ControllerAddr kLeft{0x5A'00'00'00'00'01};
constexpr Hidl::ControllerAddr kStylus{0x5A'00'00'00'00'03};
constexpr Hidl::ControllerAddr kNobody{1};

class FakeProgressCallback : public Hidl::IProgressUpdateCallback {
  public:
    android::hardware::Return<Result> handleProgressUpdate(float /*progress*/) override {
        goesOn.wait();
        return Result::SUCCESS;
    }
    /// The first report waits for it.
    std::shared_future<void> goesOn;
};

class ControllerTest : public ::testing::Test {
  protected:
    ControllerTest() {
        EXPECT_EQ(provider_->prepareStateChangeStream(*states_.queue.getDesc(), states_.identity,
                                                      states_.config),
                  Result::SUCCESS);
    }
    ~ControllerTest() override {
        poses_->stop();
        fleet_->stop();
    }

    /// The first record that `isWanted`; all zero if none comes within a generous bound.
    template <typename Record, typename Wanted>
    static Record await(ClientEnd<Record>& end, const Wanted& isWanted) {
        Record record{};
        do {
            while (end.queue.read(&record)) {
                if (isWanted(record)) {
                    return record;
                }
            }
        } while (end.awaitData());
        return {};
    }
    Hidl::PairedControllerInfo awaitConnection(ControllerConnection connection) {
        return await(states_, [&](const auto& info) {
            return info.address == kStylus && info.connection == connection;
        });
    }
    size_t countAdvertising() {
        size_t count = 0;
        management_->getAdvertisingControllers(
            [&](const auto& controllers) { count = controllers.size(); });
        return count;
    }

    std::shared_ptr<Faults> faults_ = std::make_shared<Faults>(FaultSettings{});
    std::shared_ptr<ControllerFleet> fleet_ = std::make_shared<ControllerFleet>(
        ControllerSettings{0, {}}, faults_, std::make_shared<WorldClock>(),
        std::make_shared<World>(WorldSettings{}));
    android::sp<PoseReceiver> poses_ = new PoseReceiver(fleet_);
    android::sp<Hidl::IControllerProvider> provider_ =
        makeService<ControllerProviderService>(faults_, fleet_, faults_);
    android::sp<Hidl::IControllerStateProvider> owner_ =
        makeService<ControllerStateProviderService>(faults_, fleet_, poses_);
    android::sp<Hidl::IControllerManagementClient> management_ = provider_->getManagementClient();
    android::sp<Hidl::IControllerStreamingClient> streaming_ = provider_->getStreamingClient();
    ClientEnd<Hidl::PairedControllerInfo> states_{1000};
};

TEST_F(ControllerTest, PairedControllerConnectsAndNoLongerAdvertisesItself) {
    EXPECT_EQ(countAdvertising(), 1U);
    EXPECT_EQ(management_->pairController(kNobody), Result::FAILURE);
    EXPECT_EQ(management_->unpairController(kStylus), Result::FAILURE);
    EXPECT_EQ(management_->pairController(kStylus), Result::SUCCESS);
    EXPECT_EQ(management_->pairController(kStylus), Result::FAILURE);
    EXPECT_EQ(countAdvertising(), 0U);
    awaitConnection(ControllerConnection::CONNECTING);
    EXPECT_EQ(awaitConnection(ControllerConnection::CONNECTED).address, kStylus);

    EXPECT_TRUE(streaming_->sleepController(kStylus));
    EXPECT_FALSE(streaming_->setSimpleHaptics(kStylus, 1));
    EXPECT_TRUE(streaming_->wakeController(kStylus));
    EXPECT_FALSE(streaming_->wakeController(kStylus));

    EXPECT_EQ(management_->unpairController(kStylus), Result::SUCCESS);
    EXPECT_EQ(awaitConnection(ControllerConnection::DISCONNECTED).address, kStylus);
    EXPECT_EQ(countAdvertising(), 1U);
    Hidl::SecureDeviceInfo device{};
    device.address = kStylus;
    EXPECT_TRUE(provider_->allowDevice(device));
    EXPECT_EQ(countAdvertising(), 0U);
}

TEST_F(ControllerTest, ImpossibleSettingsAreRefused) {
    EXPECT_TRUE(streaming_->setThumbstickDeadzone(kLeft, 0.25F));
    for (const float bad : {-0.1F, 1.1F, std::numeric_limits<float>::quiet_NaN()}) {
        EXPECT_FALSE(streaming_->setThumbstickDeadzone(kLeft, bad));
    }
    streaming_->getThumbstickDeadzone(kLeft, [](float kept, bool) { EXPECT_EQ(kept, 0.25F); });
    EXPECT_FALSE(streaming_->setThumbstickMaxADCRange(kLeft, {4000, 100, 0, 1}));
    EXPECT_FALSE(streaming_->setLedConfig(
        {Hidl::ControllerHand::LEFT, static_cast<Hidl::LedPattern>(9), 1, 2, 3, 4, 500}));
    streaming_->getLedConfig(kNobody, [&](const auto&, bool success) { EXPECT_FALSE(success); });
    EXPECT_FALSE(provider_->setWirelessFreqBlocklist({UINT32_MAX}));
    EXPECT_FALSE(owner_->setPairingInfo({}, std::vector<uint8_t>(15)));
}

TEST_F(ControllerTest, FirmwareUpdateRefusesWhatItCannotReportAndASecondOne) {
    const android::sp<FakeProgressCallback> callback = new FakeProgressCallback;
    std::promise<void> go;
    callback->goesOn = go.get_future();
    using Type = Hidl::ControllerType;
    const auto update = [&](Type type, const FirmwareReports& reports) -> Result {
        return management_->updateFirmware(kLeft, type, reports);
    };
    EXPECT_EQ(update(Type::STYLUS, {callback, 0, 0.25F}), Result::FAILURE);
    EXPECT_EQ(update(Type::HANDHELD, {nullptr, 0, 0.25F}), Result::FAILURE);
    EXPECT_EQ(update(Type::HANDHELD, {callback, -1, 0.25F}), Result::FAILURE);
    EXPECT_EQ(update(Type::HANDHELD, {callback, 0, std::nanf("")}), Result::FAILURE);
    EXPECT_EQ(update(Type::HANDHELD, {callback, 0, 0.25F}), Result::SUCCESS);
    EXPECT_EQ(update(Type::HANDHELD, {callback, 0, 0.25F}), Result::BAD_STATE);
    EXPECT_EQ(management_->unpairController(kLeft), Result::BAD_STATE);
    go.set_value();
}

TEST_F(ControllerTest, OnlyCallsThatNeedAThreadFailAtTheThreadLimit) {
    const android::sp<FakeProgressCallback> callback = new FakeProgressCallback;
    std::promise<void> go;
    go.set_value();
    callback->goesOn = go.get_future();
    const android::sp<TestSupport::FakeSensorClient> identity = new TestSupport::FakeSensorClient;
    const auto update = [&]() -> Result {
        return management_->updateFirmware(kLeft, Hidl::ControllerType::HANDHELD,
                                           {callback, 0, 0.25F});
    };
    const auto sendPoses = [&] {
        Result of{};
        owner_->preparePoseOutputStream(
            identity, [&](Result result, const auto&, const auto&) { of = result; });
        return of;
    };
    TestSupport::runAtThreadLimit([&] {
        EXPECT_EQ(update(), Result::FAILURE);
        EXPECT_EQ(sendPoses(), Result::FAILURE);
    });
    EXPECT_EQ(update(), Result::SUCCESS);
    EXPECT_EQ(sendPoses(), Result::SUCCESS);
}

TEST(HapticsPlayerTest, PlaysWhatWasSentForAsLongAsItLasts) {
    using Samples = std::vector<uint8_t>;
    const HapticsPlayer::Time begin{};
    HapticsPlayer player;
    Hidl::HapticsState state{};
    const auto expect = [&](std::chrono::milliseconds time, HapticsActivity activity,
                            float amplitude, uint32_t buffered) {
        EXPECT_TRUE(player.takeChange(begin + time, &state)) << time.count();
        EXPECT_EQ(state.activity, activity) << time.count();
        EXPECT_FLOAT_EQ(state.amplitude, amplitude) << time.count();
        EXPECT_EQ(state.bufferedSamples, buffered) << time.count();
        EXPECT_FALSE(player.takeChange(begin + time, &state)) << time.count();
    };
    using Activity = HapticsActivity;
    player.playPattern({{{255, 1}, {0, 2}, {51, 1}, {0, 0}, {0, 0}, {0, 0}}}, begin);
    expect(0ms, Activity::PLAYING, 1, 0);
    expect(10ms, Activity::PLAYING, 0, 0);
    expect(30ms, Activity::PLAYING, 0.2F, 0);
    expect(40ms, Activity::IDLE, 0, 0);
    EXPECT_FALSE(player.appendBuffer(Samples(1), begin + 40ms));  // there is no buffer

    EXPECT_TRUE(player.playBuffer(1000, false, Samples(100, 51), begin + 50ms));
    expect(50ms, Activity::PLAYING, 0.2F, 100);
    EXPECT_TRUE(player.appendBuffer(Samples(50, 255), begin + 90ms));
    expect(90ms, Activity::PLAYING, 0.2F, 110);
    expect(150ms, Activity::PLAYING, 1, 50);
    expect(200ms, Activity::IDLE, 0, 0);
    EXPECT_TRUE(player.appendBuffer(Samples(10, 255), begin + 300ms));
    EXPECT_TRUE(player.takeChange(begin + 300ms, &state));
    EXPECT_EQ(state.activity, Activity::UNDERRUN);
    expect(301ms, Activity::PLAYING, 1, 9);

    for (const double rate : {0.0, -1.0, 1e9, std::nan("")}) {
        EXPECT_FALSE(player.playBuffer(rate, false, Samples(1), begin + 11s)) << rate;
    }
    EXPECT_TRUE(player.playBuffer(1, false, Samples(4096), begin + 12s));
    EXPECT_FALSE(player.appendBuffer(Samples(1), begin + 12s));  // the buffer is full
}

Hidl::PoseOutput poseOf(uint32_t sequence) {
    Hidl::PoseOutput pose{};
    pose.controller = kLeft;
    pose.orientation[3] = 1;
    pose.sequence = sequence;
    return pose;
}

TEST(PoseLedgerTest, CountsWhatIsMissingAndWhatIsOutOfOrder) {
    PoseLedger ledger;
    for (const uint32_t sequence : {UINT32_MAX - 1, UINT32_MAX, 0U, 1U, 4U, 3U, 4U, 4U}) {
        ledger.enter(poseOf(sequence));
    }
    EXPECT_EQ(ledger.counts().accepted, 8U);
    EXPECT_EQ(ledger.counts().missing, 2U);
    EXPECT_EQ(ledger.counts().misordered, 2U);
}

TEST_F(ControllerTest, ValidPosesOfTheOwnerAreForwardedAndInvalidOnesAreNot) {
    ClientEnd<Hidl::PoseInput> consumer{1000};
    ASSERT_EQ(provider_->preparePoseInputStream(*consumer.queue.getDesc(), consumer.identity,
                                                consumer.config),
              Result::SUCCESS);
    streaming_->enable(kLeft);
    const android::sp<TestSupport::FakeSensorClient> identity = new TestSupport::FakeSensorClient;
    std::unique_ptr<PoseSender::Queue> queue;
    Hidl::FmqConfig config;
    owner_->preparePoseOutputStream(
        identity, [&](Result result, const auto& descriptor, const auto& got) {
            ASSERT_EQ(result, Result::SUCCESS);
            queue = std::make_unique<PoseSender::Queue>(descriptor, false);
            config = got;
        });
    owner_->preparePoseOutputStream(identity, [](Result result, const auto&, const auto&) {
        EXPECT_EQ(result, Result::BAD_STATE);
    });
    owner_->preparePoseOutputStream(nullptr, [](Result result, const auto&, const auto&) {
        EXPECT_EQ(result, Result::FAILURE);
    });
    EXPECT_EQ(owner_->controlPoseOutputStream(identity, Hidl::StreamCommand::START),
              Result::SUCCESS);

    Hidl::PoseOutput poses[] = {poseOf(1), poseOf(2), poseOf(3), poseOf(4)};
    poses[0].position[0] = std::nanf("");
    poses[1].orientation[3] = 2;
    poses[2].controller = kNobody;
    poses[3].timestamp = 77;
    ASSERT_TRUE(queue->write(poses, 4));
    android::hardware::EventFlag* flag = nullptr;
    android::hardware::EventFlag::createEventFlag(config.eventFlag->data[0], 0, &flag);
    ASSERT_NE(flag, nullptr);
    flag->wake(config.dataReadyBit);
    const auto isOwners = [](const auto& pose) { return pose.timestamp < 1000; };
    EXPECT_EQ(await(consumer, isOwners).timestamp, 77);

    // When the owner dies, poses come from the simulated hands again.
    identity->die();
    EXPECT_NE(await(consumer, [&](const auto& pose) { return !isOwners(pose); }).timestamp, 0);
    EXPECT_EQ(identity->recipient, nullptr);
    EXPECT_EQ(poses_->summary(),
              "poses of the state's owner: 1 read of 1 senders, 0 missing, 0 out of order, 3 "
              "refused");
    android::hardware::EventFlag::deleteEventFlag(&flag);
}

TEST_F(ControllerTest, OwnerIsStillAnsweredWhenNoMorePosesAreRead) {
    const android::sp<TestSupport::FakeSensorClient> identity = new TestSupport::FakeSensorClient;
    owner_->preparePoseOutputStream(identity, [](Result result, const auto&, const auto&) {
        EXPECT_EQ(result, Result::SUCCESS);
    });
    poses_->stop();
    EXPECT_EQ(owner_->controlPoseOutputStream(identity, Hidl::StreamCommand::START),
              Result::SUCCESS);
}

TEST(ThumbstickTest, CalibrationScalesTheTravelAndTheDeadzoneReadsZero) {
    const auto place = [](uint16_t x, uint16_t y, const ThumbstickCalibration& calibration) {
        return thumbstickOf({kLeft, 0, 0, x, y}, calibration);
    };
    const ThumbstickCalibration narrow{{1000, 3000, 1000, 3000}, 0.25F};
    EXPECT_THAT(place(3000, 500, narrow), ElementsAre(1, -1));
    EXPECT_THAT(place(2500, 2000, narrow), ElementsAre(0.5F, 0));
    EXPECT_THAT(place(2200, 2100, narrow), ElementsAre(0, 0));
}

}  // namespace
