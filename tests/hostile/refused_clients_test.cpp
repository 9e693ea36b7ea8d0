// Clients that send invalid data: the service refuses it and keeps nothing of it.
#include <vendor/zelvan/hardware/sensors/1.0/ICameraProvider.h>
#include <vendor/zelvan/hardware/sensors/1.0/IImu.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "hostile/attack.h"
#include "support/broken_queue.h"
#include "support/client_end.h"

namespace {

using namespace TestSupport;
using android::sp;
using android::hardware::hidl_handle;
using android::hardware::MQDescriptorSync;
using android::hardware::Return;
using Hidl::Result;
using Hidl::StreamCommand;

/// @param prepare (queue, config) asks for the stream
template <typename Record, typename Prepare>
void expectRefused(const Prepare& prepare) {
    const ClientEnd<Record> good(4);
    const auto expectFailure = [](Result result, const std::string& what) {
        EXPECT_EQ(result, Result::FAILURE) << what;
    };
    expectFailure(prepare(MQDescriptorSync<Record>(), good.config), "nothing");
    expectFailure(prepare(descriptorOf<Record>(queueParts<Record>(65'537)), good.config), "huge");
    for (const BrokenQueue& broken : kBrokenQueues) {
        QueueParts parts = queueParts<Record>(4);
        broken.spoil(parts);
        expectFailure(prepare(descriptorOf<Record>(parts), good.config), broken.name);
    }
    const auto expectFlagRefused = [&](const hidl_handle& handle, const std::string& what) {
        Hidl::FmqConfig config = good.config;
        config.eventFlag = handle;
        expectFailure(prepare(*good.queue.getDesc(), config), "flag in " + what);
    };
    expectFlagRefused({}, "nothing");
    expectFlagRefused(handleOf({}), "no memory");
    expectFlagRefused(handleOf({ashmem_create_region("small", 3)}), "three bytes");
    for (const NoMemory& memory : kNoMemory) {
        QueueParts parts = queueParts<Record>(4);
        close(std::exchange(parts.descriptors[0], memory.make()));
        expectFailure(prepare(descriptorOf<Record>(parts), good.config), memory.name);
        expectFlagRefused(handleOf({memory.make()}), memory.name);
    }
    struct Bits {
        uint32_t readNotify;
        uint32_t dataReady;
    };
    // None, the same for both, and several for one.
    for (const Bits bits : {Bits{0, 1}, Bits{2, 0}, Bits{2, 2}, Bits{4, 3}, Bits{~0U, 2}}) {
        const Hidl::FmqConfig config{good.config.eventFlag, bits.readNotify, bits.dataReady};
        expectFailure(prepare(*good.queue.getDesc(), config), std::to_string(bits.dataReady));
    }
}

sp<Hidl::ICameraStream> headsetCameras() {
    return Hidl::ICameraProvider::getService()->getStream(Hidl::FrameType::HEADSET);
}

void sendBrokenQueues() {
    const sp<FakeSensorClient> client = new FakeSensorClient;
    const sp<Hidl::IImu> imu = Hidl::IImu::getService();
    expectRefused<Hidl::ImuData>([&](const auto& queue, const Hidl::FmqConfig& config) -> Result {
        return imu->prepareStream(queue, client, config);
    });
    const sp<Hidl::ICameraStream> camera = headsetCameras();
    expectRefused<Hidl::FrameSet>([&](const auto& queue, const auto& config) {
        Result answer{};
        EXPECT_TRUE(camera
                        ->prepareStream(client, queue, config,
                                        [&](Result result, const auto& recycleQueue, const auto&) {
                                            answer = result;
                                            EXPECT_EQ(recycleQueue.handle(), nullptr);
                                        })
                        .isOk());
        return answer;
    });
    EXPECT_EQ(Result(imu->controlStream(client, StreamCommand::START)), Result::BAD_STATE);
    EXPECT_EQ(Result(camera->controlStream(client, StreamCommand::START)), Result::BAD_STATE);
    hold();
}

/// Names a stream and a client that are not the service's.
struct StrangeTarget : Hidl::ICameraStreamControlTarget {
    explicit StrangeTarget(sp<Hidl::ICameraStream> s) : stream(std::move(s)) {}
    Return<sp<Hidl::ICameraStream>> getStream() override { return stream; }
    Return<sp<Hidl::ISensorClient>> getClient() override { return nullptr; }
    sp<Hidl::ICameraStream> stream;
};

void sendStrangeValues() {
    const std::string everything(100'000, '%');
    const auto unknown = static_cast<StreamCommand>(-1);
    const ClientEnd<Hidl::ImuData> end(4);
    const auto imu = Hidl::IImu::getService();
    const auto prepareFor = [&](const sp<Hidl::ISensorClient>& client) -> Result {
        return imu->prepareStream(*end.queue.getDesc(), client, end.config);
    };
    EXPECT_EQ(prepareFor(nullptr), Result::FAILURE);
    EXPECT_EQ(prepareFor(end.identity), Result::SUCCESS);
    EXPECT_EQ(Result(imu->controlStream(end.identity, unknown)), Result::FAILURE);
    EXPECT_EQ(Result(imu->controlStream(nullptr, StreamCommand::START)), Result::FAILURE);

    const auto provider = Hidl::ICameraProvider::getService();
    const auto camera = headsetCameras();
    Hidl::ExposureGainSettings settings{};
    settings.numCameras = 4'000'000'000;
    EXPECT_TRUE(camera->setExposureGain(end.identity, settings).isOk());
    EXPECT_TRUE(camera->setExposureGain(nullptr, settings).isOk());
    EXPECT_EQ(Result(provider->applyMuxMode(everything, 0)), Result::FAILURE);
    EXPECT_EQ(Result(provider->setChannels(
                  {std::vector<Hidl::FrameType>(100'000, static_cast<Hidl::FrameType>(-1))})),
              Result::FAILURE);
    const auto control = [&](const sp<Hidl::ICameraStreamControlTarget>& target) -> Result {
        return provider->controlEvery({target}, StreamCommand::START);
    };
    EXPECT_EQ(control(nullptr), Result::FAILURE);
    EXPECT_EQ(control(new StrangeTarget(nullptr)), Result::FAILURE);
    EXPECT_EQ(control(new StrangeTarget(camera)), Result::FAILURE);
    hold();
}

const Attack kAttacks[] = {{"broken queues", sendBrokenQueues},
                           {"strange values", sendStrangeValues}};
const ClientRole kRole{"refused client", [] { return runAttack(kAttacks); }};

using RefusedClientsTest = AttackTest;

TEST_F(RefusedClientsTest, GetNothingAndHarmNobody) {
    expectNoHarm("refused client", kAttacks, "under way");
}

}  // namespace
