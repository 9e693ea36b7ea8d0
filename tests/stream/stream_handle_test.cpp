// Reading batches from the shared queue, whole, wrapped, converted and corrupted.
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "stream/fake_stream.h"
#include "stream/received_queue.h"
#include "support/allocation_count.h"
#include "support/broken_queue.h"
#include "support/event_flag_peer.h"
#include "support/fatal_calls.h"
#include "support/queue_counters.h"

namespace {

using namespace ::testing;
using namespace TestSupport;

class StreamHandleTest : public Test {
  protected:
    /// What a stream of `queueSize` makes of batches that are read one after the other.
    template <typename Data>
    std::vector<Delivered> deliveries(uint32_t queueSize, std::initializer_list<size_t> batches) {
        FakeStream<Data> stream;
        stream.handle.setQueueSize(queueSize);
        stream.handle.addTo(composite);
        uint64_t first = 1;
        for (const size_t batch : batches) {
            EXPECT_TRUE(stream.end.write(samples(first, batch)) && stream.handle.read());
            EXPECT_TRUE(stream.end.takeReadDone());
            first += batch;
        }
        EXPECT_EQ(stream.end.queue->availableToWrite(), queueSize);
        return stream.calls;
    }

    Vek::Sensors::HidlWrapper::CompositeStream composite{"test"};
};
using StreamHandleDeathTest = StreamHandleTest;

TEST_F(StreamHandleTest, PrepareCallCarriesQueueBitsAndClient) {
    FakeStream<DirectSample> stream;
    FakeStream<DirectSample> second;
    EXPECT_EQ(stream.handle.getQueueSize(), 32U);
    second.handle.setQueueSize(5);
    stream.handle.addTo(composite);
    second.handle.addTo(composite);

    EXPECT_EQ(stream.end.queue->getQuantumCount(), 32U);
    EXPECT_EQ(second.end.queue->getQuantumCount(), 5U);
    EXPECT_EQ(stream.end.queue->getEventFlagWord(), nullptr);
    EXPECT_EQ(second.end.dataReadyBit, 1U << 1);
    EXPECT_EQ(second.end.readNotifyBit, 1U << 16);
    EXPECT_NE(stream.end.client, second.end.client);
    EXPECT_EQ(stream.end.client, stream.handle.client());
    stream.end.client->getSensorClientInfo([](Hidl::Result result, const auto& info) {
        EXPECT_EQ(result, Hidl::Result::SUCCESS);
        EXPECT_EQ(std::string(info.name), "clientId");
    });
}

TEST_F(StreamHandleTest, ReadDoneIsSignalledWhenTheSpaceIsFree) {
    FakeStream<DirectSample> stream;
    stream.handle.addTo(composite);
    ASSERT_TRUE(stream.end.write(samples(1, 32)));
    EventFlagPeer service;
    std::vector<size_t> rooms;
    service.duringWake = [&](uint32_t bits) {
        EXPECT_EQ(bits, stream.end.readNotifyBit);
        rooms.push_back(stream.end.queue->availableToWrite());
    };
    EXPECT_TRUE(stream.handle.read());
    EXPECT_THAT(rooms, ElementsAre(32));
}

TEST_F(StreamHandleTest, ReadLeavesAnEmptyQueueUntouched) {
    FakeStream<DirectSample> stream;
    stream.handle.addTo(composite);
    EXPECT_FALSE(stream.handle.read());
    EXPECT_THAT(stream.calls, IsEmpty());
    EXPECT_FALSE(stream.end.takeReadDone());
}

TEST_F(StreamHandleTest, BatchesComeInTwoSpansOfOneCallInTheQueuesOrder) {
    // Directly: a full queue, then one that wraps.
    EXPECT_THAT(deliveries<DirectSample>(4, {4}), ElementsAre(Delivered{{1, 2, 3, 4}, {}}));
    EXPECT_THAT(deliveries<DirectSample>(5, {3, 5}),
                ElementsAre(Delivered{{1, 2, 3}, {}}, Delivered{{4, 5}, {6, 7, 8}}));
    // Converted: what does not fit into the fixed part spills, wrapped (5 and 6) or not.
    EXPECT_THAT(deliveries<ConvertedSample>(32, {8, 9}),
                ElementsAre(Delivered{{1, 2, 3, 4, 5, 6, 7, 8}, {}},
                            Delivered{{9, 10, 11, 12, 13, 14, 15, 16}, {17}}));
    EXPECT_EQ(deliveries<ConvertedSample>(11, {6, 11}).back(),
              (Delivered{{7, 8, 9, 10, 11, 12, 13, 14}, {15, 16, 17}}));
    EXPECT_EQ(deliveries<ConvertedSample>(11, {6, 6}).back(),
              (Delivered{{7, 8, 9, 10, 11, 12}, {}}));
}

TEST_F(StreamHandleTest, DirectRecordsAreSeenInTheQueueItselfWithoutAllocation) {
    FakeStream<DirectSample> stream;
    stream.handle.addTo(composite);
    uint64_t seen = 0;
    QueueCounters counters{*stream.end.queue};
    stream.handle.setCallbackv([&](Vek::Sensors::IDataStream<DirectSample>::Batch spans) {
        // A change that the service makes to the slot now would not show in a copy.
        counters.records<HidlSample>()[0].value = 77;
        seen = spans[0][0].value;
    });
    ASSERT_TRUE(stream.end.write(samples(1, 32)));
    const size_t before = allocationCount();
    EXPECT_TRUE(stream.handle.read());
    EXPECT_EQ(allocationCount(), before);
    EXPECT_EQ(seen, 77U);
}

TEST_F(StreamHandleTest, AddedAgainTakesANewQueueAndAFurtherPlace) {
    FakeStream<DirectSample> stream;
    stream.handle.addTo(composite);
    ASSERT_TRUE(stream.end.write(samples(1, 1)));
    stream.handle.addTo(composite);
    EXPECT_EQ(stream.end.dataReadyBit, 1U << 1);
    EXPECT_FALSE(stream.handle.read());
    Vek::Sensors::HidlWrapper::CompositeStream other{"other"};
    stream.handle.addTo(other);
    ASSERT_TRUE(stream.end.writeAndSignal(samples(2, 1)));
    EXPECT_EQ(other.wait(), Vek::Sensors::WaitResult::DELIVERED);
    EXPECT_TRUE(stream.end.takeReadDone()) << "where the stream is now";
}

TEST_F(StreamHandleTest, EmptyCallbackThrows) {
    const auto read = [this](auto stream) {
        stream->handle.setCallbackv({});
        stream->handle.addTo(composite);
        EXPECT_TRUE(stream->end.write(samples(1, 1)));
        EXPECT_THROW(stream->handle.read(), std::bad_function_call);
    };
    read(std::make_unique<FakeStream<DirectSample>>());
    read(std::make_unique<FakeStream<ConvertedSample>>());
}

TEST_F(StreamHandleDeathTest, WrongUseAndRefusalsAreFatal) {
    FakeStream<DirectSample> stream;
    stream.prepareResult = Hidl::Result::IGNORED;
    expectFatal({{assertion("res != Hidl::Result::SUCCESS", "StreamHandle prepareStream failed"),
                  [&] { stream.handle.addTo(composite); }}});
    stream.prepareResult = Hidl::Result::SUCCESS;
    stream.handle.addTo(composite);
    ASSERT_TRUE(stream.end.write(samples(1, 1)));
    EventFlagPeer service;
    service.failure = -EINVAL;
    FakeStream<DirectSample> huge;
    huge.handle.setQueueSize(SIZE_MAX / 8);
    expectFatal(
        {{assertion("fmq_.has_value()", "Failed to set queue size: queue has been initialized."),
          [&] { stream.handle.setQueueSize(8); }},
         {assertion("status != android::NO_ERROR",
                    "Unexpected error code from EventFlag::wake: status -22"),
          [&] { stream.handle.read(); }},
         {assertion("!fmq_->isValid()", "Failed to create fmq"),
          [&] { huge.handle.addTo(composite); }}});
}

// A service that breaks the rules: it writes both counters.
TEST_F(StreamHandleDeathTest, CorruptQueuesAreFatal) {
    constexpr uint64_t kRecord = sizeof(HidlSample);
    FakeStream<DirectSample> stream;
    stream.handle.setQueueSize(4);
    stream.handle.addTo(composite);
    QueueCounters counters{*stream.end.queue};
    const auto reading = [&](uint64_t read, uint64_t written) {
        return [=, &counters, &stream] {
            counters.read() = read;
            counters.written() = written;
            return stream.handle.read();
        };
    };
    EXPECT_FALSE(reading(0, kRecord - 1)()) << "less than a whole message counts as none";
    stream.handle.setCallbackv([&](const auto&) {
        fputs("delivered\n", stderr);
        counters.written() = 7 * kRecord;
    });
    expectFatal(
        {{assertion("avail > queueSize_",
                    "observed FMQ with too many elements; check for races in caller! avail=5, "
                    "capacity=4"),
          reading(0, 5 * kRecord)},
         {assertion("static_cast<ssize_t>(availBytes) < 0",
                    "observed FMQ readPtr ahead of writePtr; check for races in caller! "
                    "availBytes=18446744073709551568"),
          reading(3 * kRecord, 0)},
         {assertion("!began", "failed to begin FMQ read of 1 messages"), reading(8, 8 + kRecord)},
         {"delivered\n" + assertion("!committed", "failed to commit FMQ read of 2 messages"),
          reading(0, 2 * kRecord)}});
}

// The runtime of the workstation checks the same once more; that of a device need not.
TEST(ReceivedQueue, IsValidOnlyIfAllItsPartsLieInSharedMemory) {
    const auto isQueue = [](const QueueParts& parts) {
        return Vek::Sensors::HidlWrapper::describesQueue(descriptorOf<HidlSample>(parts));
    };
    EXPECT_TRUE(isQueue(queueParts<HidlSample>(3)));
    for (const BrokenQueue& broken : kBrokenQueues) {
        QueueParts parts = queueParts<HidlSample>(3);
        broken.spoil(parts);
        EXPECT_FALSE(isQueue(parts)) << broken.name;
    }
    for (const NoMemory& memory : kNoMemory) {
        QueueParts parts = queueParts<HidlSample>(3);
        close(std::exchange(parts.descriptors[0], memory.make()));
        // Write-only memory is found out when it is mapped.
        EXPECT_EQ(isQueue(parts), std::string(memory.name) == "memory that cannot be mapped")
            << memory.name;
    }
    // The word of an event flag is a part, too, if there is one.
    QueueParts parts = queueParts<HidlSample>(3);
    parts.grantors.push_back({0, 0, 8, 4});
    EXPECT_TRUE(isQueue(parts));
    parts = queueParts<HidlSample>(3);
    parts.grantors.push_back({0, 0, ~3U, 4});
    EXPECT_FALSE(isQueue(parts)) << "an event flag out of reach";
}

}  // namespace
