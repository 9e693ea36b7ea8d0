// Clients that prepare valid streams and then corrupt the shared memory.
#include <vendor/zelvan/hardware/sensors/1.0/ICameraProvider.h>
#include <vendor/zelvan/hardware/sensors/1.0/IControllerStateProvider.h>
#include <vendor/zelvan/hardware/sensors/1.0/IImu.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <thread>

#include "hostile/attack.h"
#include "hostile/corruption.h"
#include "support/broken_queue.h"
#include "support/camera_client_end.h"

namespace {

using namespace TestSupport;
using android::sp;
using android::hardware::EventFlag;
using Hidl::Result;
using Hidl::StreamCommand;

void expectStarted(const sp<Hidl::ISensorClient>& client, const Hidl::FmqConfig& config,
                   const android::hardware::MQDescriptorSync<Hidl::ImuData>& queue) {
    const auto imu = Hidl::IImu::getService();
    EXPECT_EQ(Result(imu->prepareStream(queue, client, config)), Result::SUCCESS);
    EXPECT_EQ(Result(imu->controlStream(client, StreamCommand::START)), Result::SUCCESS);
}

void corruptSampleQueue() {
    const ClientEnd<Hidl::ImuData> end(64);
    expectStarted(end.identity, end.config, *end.queue.getDesc());
    corruptForever<Hidl::ImuData>(end.queue, end.eventFlag);
    hold();
}

void overlapQueues() {
    // Queues whose counters lie in the ring, or are the same.
    const ClientEnd<Hidl::ImuData> ends[2] = {ClientEnd<Hidl::ImuData>{1},
                                              ClientEnd<Hidl::ImuData>{1}};
    QueueParts parts = queueParts<Hidl::ImuData>(64);
    parts.grantors[2].offset = 0;
    expectStarted(ends[0].identity, ends[0].config, descriptorOf<Hidl::ImuData>(parts));
    parts = queueParts<Hidl::ImuData>(64);
    parts.grantors[1].offset = parts.grantors[0].offset;
    expectStarted(ends[1].identity, ends[1].config, descriptorOf<Hidl::ImuData>(parts));
    hold();
}

void corruptRecycleQueue() {
    CameraClientEnd end(Hidl::ICameraProvider::getService()->getStream(Hidl::FrameType::HEADSET));
    EXPECT_EQ(end.prepare(), Result::SUCCESS);
    EXPECT_EQ(end.control(StreamCommand::START), Result::SUCCESS);
    corruptForever<Hidl::FrameSet>(*end.wayBack, end.eventFlag);
    hold();
}

/// The way to the service of one who owns the controllers' state.
struct PoseOutput {
    using Queue = ClientEnd<Hidl::PoseOutput>::Queue;

    PoseOutput() {
        const auto owner = Hidl::IControllerStateProvider::getService();
        owner
            ->preparePoseOutputStream(
                client,
                [this](Result result, const auto& descriptor, const Hidl::FmqConfig& config) {
                    EXPECT_EQ(result, Result::SUCCESS);
                    queue = std::make_unique<Queue>(descriptor, false);
                    EventFlag::createEventFlag(config.eventFlag->data[0], 0, &flag);
                    dataReadyBit = config.dataReadyBit;
                })
            .isOk();
        EXPECT_EQ(Result(owner->controlPoseOutputStream(client, StreamCommand::START)),
                  Result::SUCCESS);
    }

    const sp<FakeSensorClient> client = new FakeSensorClient;
    std::unique_ptr<Queue> queue;
    EventFlag* flag = nullptr;
    uint32_t dataReadyBit = 0;
};

void corruptPoseQueue() {
    const PoseOutput output;
    corruptForever<Hidl::PoseOutput>(*output.queue, output.flag);
    hold();
}

/// Valid poses, but faster than consumers can take them.
void floodPoses() {
    using Clock = std::chrono::steady_clock;
    PoseOutput output;
    Hidl::PoseOutput pose{};
    pose.controller = {0x5A'00'00'00'00'01};
    pose.orientation[3] = 1;
    const auto send = [&] {
        pose.sequence += output.queue->write(&pose) ? 1U : 0U;
        output.flag->wake(output.dataReadyBit);
    };
    const Clock::time_point begin = Clock::now();
    while (pose.sequence < 2064) {
        send();
    }
    // But for those that the queue holds and those that were read last, each took its time.
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(400));
    std::thread([&send] {
        while (true) {
            send();
        }
    }).detach();
    hold();
}

const Attack kAttacks[] = {
    {"corrupt sample queue", corruptSampleQueue},
    {"overlap queues", overlapQueues},
    {"corrupt recycle queue", corruptRecycleQueue},
    {"corrupt pose queue", corruptPoseQueue},
    {"flood poses", floodPoses},
};
const ClientRole kRole{"corrupting client", [] { return runAttack(kAttacks); }};

using CorruptingClientsTest = AttackTest;

TEST_F(CorruptingClientsTest, HarmNobody) {
    expectNoHarm("corrupting client", kAttacks, "under way");
}

}  // namespace
