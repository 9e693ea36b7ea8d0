// Clients that do not answer what they are asked, take no messages, take all there is, or die in
// the middle of things.
#include <sys/resource.h>
#include <vendor/zelvan/hardware/sensors/1.0/ICameraProvider.h>
#include <vendor/zelvan/hardware/sensors/1.0/IControllerProvider.h>
#include <vendor/zelvan/hardware/sensors/1.0/IControllerStateProvider.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFaceEyeTrackingLed.h>
#include <vendor/zelvan/hardware/sensors/1.0/IImu.h>
#include <vendor/zelvan/hardware/sensors/1.0/ITambril.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include "end_to_end/camera_account.h"
#include "hostile/attack.h"
#include "support/camera_client_end.h"

namespace {

using namespace TestSupport;
using android::sp;
using android::hardware::Return;
using android::hardware::Void;
using Hidl::Result;
using Hidl::StreamCommand;

constexpr Hidl::ControllerAddr kLeft{0x5A'00'00'00'00'01};

[[noreturn]] void die() {
    raise(SIGKILL);
    std::abort();
}

/// What happens in place of an answer when the service calls.
using Reaction = void (*)();

template <Reaction react>
struct Identity : Hidl::ISensorClient {
    Return<void> getSensorClientInfo(getSensorClientInfo_cb /*callback*/) override {
        react();
        return Void();
    }
};
template <Reaction react>
struct Target : Hidl::ICameraStreamControlTarget {
    Return<sp<Hidl::ICameraStream>> getStream() override {
        react();
        return nullptr;
    }
    Return<sp<Hidl::ISensorClient>> getClient() override { return nullptr; }
};
template <Reaction react>
struct Progress : Hidl::IProgressUpdateCallback {
    Return<Result> handleProgressUpdate(float /*progress*/) override {
        react();
        return Result::SUCCESS;
    }
};
template <Reaction react>
struct Messages : FakeClient<Hidl::ITambrilCallback> {
    Return<void> onKivraRpcMessage(const Hidl::KivraRpcMessage& /*message*/) override {
        react();
        return Void();
    }
};

/// For calls that may fail.
template <typename Status>
void ignore(const Status& status) {
    static_cast<void>(status.isOk());
}

sp<Hidl::ICameraStream> headsetCameras() {
    return Hidl::ICameraProvider::getService()->getStream(Hidl::FrameType::HEADSET);
}

// Each of these makes the service call the client.

template <Reaction react>
void beAskedForName() {
    const ClientEnd<Hidl::ImuData> end(4);
    ignore(Hidl::IImu::getService()->prepareStream(*end.queue.getDesc(), new Identity<react>,
                                                   end.config));
}
template <Reaction react>
void beAskedForStream() {
    ignore(Hidl::ICameraProvider::getService()->controlEvery({new Target<react>},
                                                             StreamCommand::START));
}
template <Reaction react>
void beToldOfProgress() {
    const sp<Hidl::IControllerManagementClient> management =
        Hidl::IControllerProvider::getService()->getManagementClient();
    EXPECT_EQ(Result(management->updateFirmware(kLeft, Hidl::ControllerType::HANDHELD,
                                                {new Progress<react>, 0, 0})),
              Result::SUCCESS);
    pause();
}
template <Reaction react>
void beSentMessages() {
    ignore(Hidl::ITambril::getService()->registerClient(Hidl::KivraRpcClientId::CMS,
                                                        new Messages<react>));
    pause();
}

std::unique_ptr<CameraClientEnd> startedCamera() {
    auto end = std::make_unique<CameraClientEnd>(headsetCameras());
    EXPECT_EQ(end->prepare(), Result::SUCCESS);
    EXPECT_EQ(end->control(StreamCommand::START), Result::SUCCESS);
    return end;
}

void doNothing() {}

/// Stops the process while more frame sets and messages are sent to it than the socket can hold.
void stop() {
    const auto camera = startedCamera();
    const auto tambril = Hidl::ITambril::getService();
    const sp<Messages<doNothing>> messages = new Messages<doNothing>;
    EXPECT_EQ(Result(tambril->registerClient(Hidl::KivraRpcClientId::CMS, messages)),
              Result::SUCCESS);
    std::atomic<size_t> sent{0};
    for (int i = 0; i < 64; ++i) {
        std::thread([&] {
            const std::vector<uint8_t> payload(8192);
            while (tambril->sendMessage(messages, kLeft, 0, payload).isOk()) {
                ++sent;
            }
        }).detach();
    }
    EXPECT_TRUE(becomesTrue([&] { return sent > 100; }));
    sendNotice("under way");
    raise(SIGSTOP);
}

/// Uses up all places that the service gives to one process.
void takeEverything() {
    const auto imu = Hidl::IImu::getService();
    const auto leds = Hidl::IFaceEyeTrackingLed::getService();
    const auto owner = Hidl::IControllerStateProvider::getService();
    const auto controllers = Hidl::IControllerProvider::getService();
    const ClientEnd<Hidl::ImuData> end(1);
    std::vector<sp<Hidl::IControllerStreamingClient>> streaming;
    std::vector<std::unique_ptr<CameraClientEnd>> cameras;
    for (int i = 0; i < 200; ++i) {
        const sp<FakeSensorClient> client = new FakeSensorClient;
        ignore(imu->prepareStream(*end.queue.getDesc(), client, end.config));
        ignore(imu->controlStream(client, StreamCommand::START));
        ignore(leds->enable(client));
        ignore(owner->preparePoseOutputStream(client, [](auto&&...) {}));
        streaming.push_back(controllers->getStreamingClient());
        cameras.push_back(std::make_unique<CameraClientEnd>(headsetCameras()));
        static_cast<void>(cameras.back()->prepare());
        static_cast<void>(cameras.back()->control(StreamCommand::START));
    }
    hold();
}

const Attack kAttacks[] = {
    {"does not answer for its name", beAskedForName<hold>},
    {"does not answer for its stream", beAskedForStream<hold>},
    {"does not take progress", beToldOfProgress<hold>},
    {"does not take messages", beSentMessages<hold>},
    {"stopped", stop},
    {"takes everything", takeEverything},
};
const ClientRole kRole{"unresponsive client", [] { return runAttack(kAttacks); }};

using UnresponsiveClientsTest = AttackTest;

TEST_F(UnresponsiveClientsTest, HarmNobody) {
    expectNoHarm("unresponsive client", kAttacks, "under way");
}

const ClientRole kNewcomer{"newcomer", [] {
                               Bystander newcomer("CMS");
                               sendNotice(newcomer.isServed() ? "served" : "not served");
                               return 0;
                           }};

TEST_F(UnresponsiveClientsTest, LeaveRoomForOthers) {
    // Of descriptors, too, where there are few: all places of one client take more than these.
    const rlim_t few = resourcesOf(simulator_.pid()).descriptors + 160;
    const rlimit limit{few, few};
    ASSERT_EQ(prlimit(simulator_.pid(), RLIMIT_NOFILE, &limit, nullptr), 0);
    const auto attacker = startClient("unresponsive client", "takes everything");
    EXPECT_EQ(attacker->awaitNotice(), "under way");
    EXPECT_EQ(startClient("newcomer")->awaitNotice(), "served");
}

TEST_F(UnresponsiveClientsTest, DoNotHoldUpTheEndOfTheService) {
    std::vector<std::unique_ptr<ChildProcess>> attackers;
    for (const char* const name :
         {"does not answer for its name", "does not take progress", "stopped"}) {
        attackers.push_back(startClient("unresponsive client", name));
        EXPECT_EQ(attackers.back()->awaitNotice(), "under way");
    }
    endService();
}

// Each ends its process.

void dieWithSamples() {
    const ClientEnd<Hidl::ImuData> end(4);
    const auto imu = Hidl::IImu::getService();
    ignore(imu->prepareStream(*end.queue.getDesc(), end.identity, end.config));
    ignore(imu->controlStream(end.identity, StreamCommand::START));
    EXPECT_TRUE(end.awaitData());
}
void dieWithAFrameSet() {
    startedCamera()->take();
}
void dieWhileItHandsOneBack() {
    const auto camera = startedCamera();
    const Hidl::FrameSet frameSet = camera->take();
    CameraClientEnd::Queue::MemTransaction transaction;
    EXPECT_TRUE(camera->wayBack->beginWrite(1, &transaction));
    transaction.copyTo(&frameSet, 0);
}

const Attack kDeaths[] = {
    {"dies when asked for its name", beAskedForName<die>},
    {"dies when asked for its stream", beAskedForStream<die>},
    {"dies when told of progress", beToldOfProgress<die>},
    {"dies when sent a message", beSentMessages<die>},
    {"dies with samples", dieWithSamples},
    {"dies with a frame set", dieWithAFrameSet},
    {"dies handing a frame set back", dieWhileItHandsOneBack},
};
const ClientRole kDyingRole{"dying client", [] { return runAttack(kDeaths); }};

TEST_F(UnresponsiveClientsTest, MayDieInTheMiddleOfAnything) {
    expectNoHarm("dying client", kDeaths, "");
    // Each of the two that had a frame set in its hands may have had one on its way, too.
    const CameraAccount account(endService(), "headset cameras");
    EXPECT_TRUE(account.isBalanced());
    EXPECT_GE(account.reclaimed, 2U);
    EXPECT_LE(account.reclaimed, 4U);
}

}  // namespace
