// The state owner's provider and the queue that it writes poses to.
#include "controller/controller_state_provider.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "os/bind_receiver.h"
#include "support/allocation_count.h"
#include "support/broken_queue.h"
#include "support/event_flag_peer.h"
#include "support/fake_service.h"
#include "support/fatal_calls.h"
#include "support/queue_counters.h"

namespace {

using namespace ::testing;
using namespace TestSupport;
using namespace Vek::Sensors;
using HidlWrapper::ControllerStateProvider;

PoseOutput pose(uint32_t sequence) {
    PoseOutput result{};
    result.sequence = sequence;
    return result;
}

/// Hands a queue for poses out.
class FakeStateProvider : public Fake<Hidl::IControllerStateProvider> {
  public:
    FakeStateProvider() {
        poseConfig.eventFlag = Vek::OS::createEventFlagHandle("pose");
        poseConfig.dataReadyBit = 1U << 5;
        on<&Hidl::IControllerStateProvider::preparePoseOutputStream>(
            [this](auto&, const auto& callback) {
                if (callsBack) {
                    callback(result, poseQueue, poseConfig);
                }
                return Void();
            });
    }

    /// Two records of room.
    ServiceEnd<Hidl::PoseOutput>::Queue poses{2};
    ServiceEnd<Hidl::PoseOutput>::Queue::Descriptor poseQueue{*poses.getDesc()};
    Hidl::FmqConfig poseConfig{};
};

class ControllerStateTest : public Test {
  protected:
    using I = Hidl::IControllerStateProvider;

    /// Another writer on the same service, whose name differs from the one in use.
    auto writer() const {
        return std::make_unique<HidlWrapper::OutputStreamHandle<PoseOutput, Hidl::PoseOutput, 1>>(
            "test", Vek::OS::BindReceiver(sp<I>(service), &I::controlPoseOutputStream),
            Vek::OS::BindReceiver(sp<I>(service), &I::preparePoseOutputStream));
    }

    /// The sequence numbers of the poses that wait in the service's queue.
    std::vector<uint32_t> takePoses() const {
        std::vector<uint32_t> sequences;
        for (Hidl::PoseOutput record; service->poses.read(&record);) {
            sequences.push_back(record.sequence);
        }
        return sequences;
    }

    sp<FakeStateProvider> service = new FakeStateProvider;
    ControllerStateProvider provider{sp<I>(service)};
};
using ControllerStateDeathTest = ControllerStateTest;

TEST_F(ControllerStateTest, DestructionSendsNothingAndUnmapsTheQueue) {
    const auto mappings = [] {
        return std::distance(std::filesystem::directory_iterator{"/proc/self/map_files"}, {});
    };
    const auto before = mappings();
    {
        const auto single = writer();
        single->prepareStream();
        single->start();
        EXPECT_GT(mappings(), before);
    }
    EXPECT_EQ(mappings(), before);
    EXPECT_THAT(service->calls, ElementsAre("controlPoseOutputStream true START"));
}

TEST_F(ControllerStateTest, PairingCallsPassExactlyWhatTheyShould) {
    service->returns<&I::enterPairingMode>(Hidl::ControllerAddr{9});
    service->returns<&I::getPairingInfo>(
        Hidl::SecureDeviceInfo{{9}, 8, std::array<uint8_t, 16>{1, 2, 3}});
    EXPECT_EQ(provider.enterPairingMode(), ControllerAddr{9});
    const SecureDeviceInfo info = provider.getPairingInfo();
    EXPECT_EQ(info.address, ControllerAddr{9});
    EXPECT_EQ(info.deviceId, 8U);
    EXPECT_THAT(info.key, Each(0));
    service->callsBack = false;
    EXPECT_EQ(provider.enterPairingMode(), ControllerAddr{});
    EXPECT_EQ(provider.getPairingInfo().deviceId, 0U);

    // On the heap, where AddressSanitizer detects a read beyond the 16 bytes.
    const std::vector<uint8_t> key(16, 3);
    const auto allAre = [&](bool answer) {
        return provider.notifyBatteryState(255) == answer &&
               provider.setPairingInfo({7, {1, 2}}, key.data()) == answer &&
               provider.setKivrarEnabled(answer) == answer;
    };
    EXPECT_TRUE(allAre(true));
    EXPECT_THAT(
        service->calls,
        ElementsAre("enterPairingMode", "enterPairingMode", "notifyBatteryState 255",
                    "setPairingInfo {.hostId = 7, .key = [1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, "
                    "0, 0, 0]} [3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3]",
                    "setKivrarEnabled true"));
    service->succeeds = false;
    EXPECT_TRUE(allAre(false));
    service->succeeds = service->transportFails = true;
    EXPECT_TRUE(allAre(false));
}

TEST_F(ControllerStateDeathTest, UndeliveredAndRefusedCallsAreFatalWithTheirOwnMessages) {
    const std::string failed = " stream command failed with result: 4";
    const auto command = [&](const char* function, const std::string& words,
                             void (ControllerStateProvider::*send)()) {
        return HalCall{"void ", function, [=] { (provider.*send)(); }, words + failed};
    };
#define COMMAND(function, words) command(#function "()", words, &ControllerStateProvider::function)
    expectFatal(*service, "ControllerStateProvider::",
                {COMMAND(startHapticsStateStream, "Start haptic"),
                 COMMAND(stopHapticsStateStream, "Stop haptic"),
                 COMMAND(startWirelessStateTransitionStream, "Start wireless state transition"),
                 COMMAND(stopWirelessStateTransitionStream, "Stop wireless state transition"),
                 COMMAND(startControllerInputDataStream, "Start controller"),
                 COMMAND(stopControllerInputDataStream, "Stop controller"),
                 {"Vek::Sensors::ControllerAddr ", "enterPairingMode()",
                  [&] { provider.enterPairingMode(); }},
                 {"Vek::Sensors::SecureDeviceInfo ", "getPairingInfo()",
                  [&] { provider.getPairingInfo(); }}});
#undef COMMAND
}

TEST_F(ControllerStateTest, PosesReachTheServiceUntilItsQueueIsFull) {
    ASSERT_TRUE(service->poses.write(std::array<Hidl::PoseOutput, 1>{}.data()));
    provider.preparePoseOutputStream();
    EXPECT_EQ(service->poses.availableToRead(), 1U) << "the positions are the service's to set";
    provider.startPoseOutputStream();
    android::hardware::EventFlag* flag =
        Vek::OS::createEventFlagFromHandle(service->poseConfig.eventFlag);
    uint32_t state = 0;
    EXPECT_NE(flag->wait(1U << 5, &state, 1), android::NO_ERROR);
    EventFlagPeer peer;
    peer.duringWake = [&](uint32_t bits) {
        EXPECT_EQ(bits, 1U << 5);
        EXPECT_EQ(service->poses.availableToRead(), 2U) << "signalled too early";
    };
    EXPECT_TRUE(provider.sendPose(pose(1)));
    peer.duringWake = [](uint32_t) {};
    EXPECT_EQ(flag->wait(1U << 5, &state, 1), android::NO_ERROR);
    EXPECT_FALSE(provider.sendPose(pose(2)));
    EXPECT_NE(flag->wait(1U << 5, &state, 1), android::NO_ERROR);
    Vek::OS::deleteEventFlag(&flag);
    EXPECT_THAT(takePoses(), ElementsAre(0, 1));

    provider.stopPoseOutputStream();
    provider.startPoseOutputStream();
    const size_t before = allocationCount();
    const bool sent = provider.sendPose(pose(3)) && provider.sendPose(pose(4));
    EXPECT_EQ(allocationCount(), before);
    EXPECT_TRUE(sent);
    EXPECT_THAT(takePoses(), ElementsAre(3, 4));
    const std::string command = "controlPoseOutputStream true ";
    EXPECT_THAT(service->calls,
                ElementsAre(command + "START", command + "STOP", command + "START"));
}

TEST_F(ControllerStateTest, OneSendWritesTheFirstPoseAlone) {
    const std::vector<PoseOutput> three{pose(1), pose(2), pose(3)};
    const auto single = writer();
    single->prepareStream();
    single->start();
    EXPECT_FALSE(single->send({}));
    EXPECT_TRUE(single->send(three));
    EXPECT_THAT(takePoses(), ElementsAre(1));
}

TEST_F(ControllerStateDeathTest, PoseStreamCallsOutOfOrderAndRefusedOnesAreFatal) {
    const auto stream = writer();
    const std::vector<PoseOutput> one{pose(1)};
    const auto prepare = [&] { stream->prepareStream(); };
    const auto start = [&] { stream->start(); };
    const auto stop = [&] { stream->stop(); };
    const auto send = [&] { stream->send(one); };
    const auto refuse = [&] { service->result = Hidl::Result::IGNORED; };
    const auto fail = [&] { service->transportFails = true; };
    // A position inside a record.
    const auto corrupt = [&] { QueueCounters{service->poses}.written() = 52; };
    const auto after = [](auto... steps) { return [=] { (steps(), ...); }; };
    const std::string notStarted =
        assertion("!running_.load(std::memory_order_acquire)",
                  "Attempting to send when test output stream is not started");
    const std::string ownCheck = "Failed HIDL call: Status(";
    expectFatal({
        {assertion("!stream_", "test output stream not prepared"), start},
        {assertion("!prev", "test output stream not started"), stop},
        {assertion("!stream_", "Attempting to send when test output stream is not prepared"), send},
        {assertion("stream_.has_value()", "test output stream already prepared"),
         after(prepare, prepare)},
        {notStarted, after(prepare, send)},
        {notStarted, after(prepare, start, stop, send)},
        {assertion("prev", "test output stream already started"), after(prepare, start, start)},
        {assertion("res != Result::SUCCESS", "Failed to start test output stream"),
         after(prepare, refuse, start)},
        {assertion("res != Result::SUCCESS", "Failed to stop test output stream"),
         after(prepare, start, refuse, stop)},
        {assertion("!status", "failed writing to test stream"),
         after(prepare, start, corrupt, send)},
        {ownCheck, after(prepare, fail, start)},
        {ownCheck, after(prepare, start, fail, stop)},
    });
}

TEST_F(ControllerStateDeathTest, FailedPreparationOfThePoseStreamIsFatal) {
    const auto stream = writer();
    const auto prepareAfter = [&](auto change) {
        return [&, change] {
            change();
            stream->prepareStream();
        };
    };
    expectFatal({
        {assertion("res == Result::FAILURE", "HAL failed to prepare test output stream"),
         prepareAfter([&] { service->result = Hidl::Result::FAILURE; })},
        {assertion("res == Result::BAD_STATE", "HAL has already prepared test output stream"),
         prepareAfter([&] { service->result = Hidl::Result::BAD_STATE; })},
        {"Failed HIDL return status not checked: Status(",
         prepareAfter([&] { service->transportFails = true; })},
        {assertion("!evFlag_", "failed creating event flag for test output stream"),
         prepareAfter([&] { service->poseConfig.eventFlag = nullptr; })},
        {assertion("!stream_->isValid()", "pose output stream is not valid"),
         prepareAfter([&] { service->callsBack = false; })},
    });
    for (const BrokenQueue& broken : kBrokenQueues) {
        expectFatal({{assertion("!stream_->isValid()", "pose output stream is not valid"),
                      prepareAfter([&] {
                          QueueParts parts = queueParts<Hidl::PoseOutput>(2);
                          broken.spoil(parts);
                          service->poseQueue = descriptorOf<Hidl::PoseOutput>(parts);
                      })}});
    }
}

}  // namespace
