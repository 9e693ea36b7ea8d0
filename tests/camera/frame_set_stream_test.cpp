// Frame sets on their way from the service to the client and back.
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "camera/camera_stream.h"
#include "support/allocation_count.h"
#include "support/broken_queue.h"
#include "support/event_flag_peer.h"
#include "support/fake_camera_hal.h"

namespace {

using namespace TestSupport;
using namespace Vek::Sensors;
using Spans = IDataStream<FrameSet>::Batch;

class FrameSetStreamTest : public ::testing::Test {
  protected:
    void addWithCallback(std::function<void(Spans)> callback) {
        stream.stream().setCallbackv(std::move(callback));
        stream.stream().addTo(composite);
    }
    WaitResult deliver(const Hidl::FrameSet& frameSet) {
        EXPECT_TRUE(service->frameSets.writeAndSignal({frameSet}));
        return composite.waitFor(std::chrono::seconds(10));
    }

    sp<FakeCameraStream> service = new FakeCameraStream;
    HidlWrapper::CameraStream stream{sp<Hidl::ICameraStream>(service), "tracker"};
    HidlWrapper::CompositeStream composite{"test"};
};
using FrameSetStreamDeathTest = FrameSetStreamTest;

TEST_F(FrameSetStreamTest, EveryFrameSetIsDeliveredOnceThenHandedBackUnchanged) {
    EXPECT_EQ(stream.stream().getQueueSize(), 1U);
    EventFlagPeer peer;
    int shown = 0;
    int recycledSignals = 0;
    peer.duringWake = [&](uint32_t bits) {
        if (bits == FakeCameraStream::kRecycledBit) {
            EXPECT_EQ(service->recycleQueue.availableToRead(), 1U) << "signalled too early";
            ++recycledSignals;
        }
    };
    addWithCallback([&](Spans spans) {
        ASSERT_TRUE(spans.size() == 1 && spans[0].size() == 1);
        EXPECT_TRUE(sameBytes(spans[0][0], filledWith<Hidl::FrameSet>(shown)));
        EXPECT_EQ(service->recycleQueue.availableToRead(), 0U) << "handed back too early";
        EXPECT_TRUE(service->frameSets.takeReadDone());
        ++shown;
    });
    EXPECT_EQ(stream.stream().getQueueSize(), 1U);
    EXPECT_EQ(service->frameSets.queue->getQuantumCount(), 1U);
    // More than the capacity of the recycle queue.
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(deliver(filledWith<Hidl::FrameSet>(i)), WaitResult::DELIVERED);
        EXPECT_TRUE(service->takeRecycledSignal());
        Hidl::FrameSet recycled;
        ASSERT_TRUE(service->recycleQueue.read(&recycled));
        EXPECT_TRUE(sameBytes(recycled, filledWith<Hidl::FrameSet>(i)));
    }
    EXPECT_EQ(shown, 5);
    EXPECT_EQ(recycledSignals, 5);
}

TEST_F(FrameSetStreamTest, EmptyQueueIsLeftAlone) {
    addWithCallback([](Spans) { FAIL(); });
    service->frameSets.signal();
    EXPECT_EQ(composite.waitFor(std::chrono::seconds(10)), WaitResult::NOTHING_DELIVERED);
    EXPECT_FALSE(service->frameSets.takeReadDone());
    EXPECT_FALSE(service->takeRecycledSignal());
    EXPECT_EQ(service->recycleQueue.availableToRead(), 0U);
}

TEST_F(FrameSetStreamTest, DeliveryDoesNotAllocate) {
    if (!kCountsAllocations) {
        GTEST_SKIP();
    }
    size_t shown = 0;
    addWithCallback([&](Spans spans) { shown += spans[0].size(); });
    const std::vector<Hidl::FrameSet> frameSets(1);
    Hidl::FrameSet recycled;
    const size_t before = allocationCount();
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(service->frameSets.writeAndSignal(frameSets));
        ASSERT_EQ(composite.wait(), WaitResult::DELIVERED);
        ASSERT_TRUE(service->recycleQueue.read(&recycled));
    }
    EXPECT_EQ(allocationCount(), before);
    EXPECT_EQ(shown, 100U);
}

TEST_F(FrameSetStreamTest, SecondPreparationTakesNewQueuesAndDropsTheirContent) {
    addWithCallback([](Spans) {});
    FakeCameraStream::Queue second{2};
    const Hidl::FrameSet frameSet{};
    ASSERT_TRUE(second.write(&frameSet));
    service->recycleDescriptor = *second.getDesc();
    stream.stream().addTo(composite);
    EXPECT_EQ(second.availableToRead(), 0U);
    ASSERT_EQ(deliver(frameSet), WaitResult::DELIVERED);
    EXPECT_EQ(service->recycleQueue.availableToRead(), 0U);
    EXPECT_EQ(second.availableToRead(), 1U);
}

TEST_F(FrameSetStreamDeathTest, FullRecycleQueueIsFatal) {
    addWithCallback([](Spans) { fputs("shown\n", stderr); });
    ASSERT_TRUE(service->recycleQueue.write(std::vector<Hidl::FrameSet>(3).data(), 3));
    EXPECT_DEATH(deliver({}),
                 "^shown\nF/Moriak-HidlWrapper: Assertion failed: !ret\nF/Moriak-HidlWrapper: "
                 "Failed to write to recycle FMQ; This means there is no space left in the FMQ, "
                 "which is an invalid state\n");
}

TEST_F(FrameSetStreamDeathTest, EventFlagThatFailsIsFatal) {
    EventFlagPeer peer;
    addWithCallback([&](Spans) { peer.failure = -EINVAL; });
    const auto status = [](const std::string& step) {
        return "failed: status != android::NO_ERROR\nF/Moriak-HidlWrapper: Unexpected error code "
               "from "
               "EventFlag::wake on " +
               step + ": status -22\n";
    };
    EXPECT_DEATH(deliver({}), ::testing::HasSubstr(status("write")));
    ASSERT_TRUE(service->frameSets.write({Hidl::FrameSet{}}));
    peer.failure = -EINVAL;
    EXPECT_DEATH(composite.waitFor({}), ::testing::HasSubstr(status("read")));
}

TEST_F(FrameSetStreamDeathTest, QueueSizeIsFixed) {
    EXPECT_DEATH(stream.stream().setQueueSize(1),
                 "^F/Moriak-HidlWrapper: DualStreamHandle queue size is not configurable.\n");
}

TEST_F(FrameSetStreamDeathTest, BrokenPreparationByTheServiceIsFatal) {
    const auto dies = [this](const std::string& text) {
        EXPECT_DEATH(stream.stream().addTo(composite), ::testing::HasSubstr(text));
    };
    for (const BrokenQueue& broken : kBrokenQueues) {
        QueueParts parts = queueParts<Hidl::FrameSet>(3);
        broken.spoil(parts);
        service->recycleDescriptor = descriptorOf<Hidl::FrameSet>(parts);
        dies("failed: !recycle_.fmq->isValid()\nF/Moriak-HidlWrapper: Failed to create FMQ\n");
    }
    service->recycleDescriptor = *service->recycleQueue.getDesc();
    stream.stream().addTo(composite);
    service->callsBack = false;  // the queue of the earlier preparation must not be used
    dies("failed: !recycle_.fmq->isValid()\nF/Moriak-HidlWrapper: Failed to create FMQ\n");
    service->callsBack = true;
    for (const NoMemory& memory : kNoMemory) {
        service->recycleFlagHandle = handleOf({memory.make()});
        dies(
            "failed: ef == nullptr\nF/Moriak-HidlWrapper: Failed to obtain event flag for recycle "
            "FMQ\n");
    }
    service->result = Hidl::Result::BAD_STATE;
    dies(
        "failed: res != Hidl::Result::SUCCESS\nF/Moriak-HidlWrapper: DualStreamHandle "
        "prepareStream failed\n");
    service->transportFails = true;
    const std::string record = "vendor::zelvan::hardware::sensors::V1_0::FrameSet";
    dies(
        "HIDL error in virtual void Vek::Sensors::HidlWrapper::DualStreamHandle<"
        "Vek::Sensors::FrameSet, " +
        record +
        ">::prepareStream(android::hardware::hidl_handle, android::hardware::EventFlag *, "
        "uint32_t, uint32_t) [Data = Vek::Sensors::FrameSet, HidlData = " +
        record + "]: ");
}

}  // namespace
