// Reading batches from the shared queue, whole, wrapped, converted and corrupted.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "stream/fake_stream.h"
#include "support/allocation_count.h"
#include "support/queue_counters.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::allocationCount;
using TestSupport::ConvertedSample;
using TestSupport::Delivered;
using TestSupport::DirectSample;
using TestSupport::FakeStream;
using TestSupport::QueueCounters;
using TestSupport::RareSample;
using TestSupport::samples;
using Vek::Sensors::HidlWrapper::CompositeStream;
namespace Hidl = Vek::Sensors::Hidl;

class StreamHandleTest : public ::testing::Test {
  protected:
    /// The text of a failed check, with its condition.
    static std::string fatal(const std::string& condition, const std::string& message) {
        return "F/Moriak-HidlWrapper: Assertion failed: " + condition +
               "\nF/Moriak-HidlWrapper: " + message + "\n";
    }

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

    CompositeStream composite{"test"};
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
    stream.end.client->getSensorClientInfo(
        [](Hidl::Result, const auto& info) { EXPECT_EQ(std::string(info.name), "clientId"); });
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
    EXPECT_THAT(deliveries<RareSample>(32, {3}), ElementsAre(Delivered{{1, 2}, {3}}));
    EXPECT_EQ(deliveries<ConvertedSample>(11, {6, 11}).back(),
              (Delivered{{7, 8, 9, 10, 11, 12, 13, 14}, {15, 16, 17}}));
}

TEST_F(StreamHandleTest, DirectRecordsAreSeenInTheQueueItself) {
    FakeStream<DirectSample> stream;
    stream.handle.addTo(composite);
    uint64_t seen = 0;
    stream.handle.setCallbackv([&](gsl::span<const gsl::span<const DirectSample>> spans) {
        // A change that the service makes to the slot now would not show in a copy.
        QueueCounters{*stream.end.queue}.records<TestSupport::HidlSample>()[0].value = 77;
        seen = spans[0][0].value;
    });
    ASSERT_TRUE(stream.end.write(samples(1, 1)) && stream.handle.read());
    EXPECT_EQ(seen, 77U);
}

TEST_F(StreamHandleTest, OnlyConversionsThatSpillAllocateOnceForARegion) {
    if (!TestSupport::kCountsAllocations) {
        GTEST_SKIP();
    }
    const auto allocationsOf = [&](auto& stream, size_t batch) {
        const auto records = samples(0, batch);
        EXPECT_TRUE(stream.end.write(records));
        const size_t before = allocationCount();
        EXPECT_TRUE(stream.handle.read());
        return allocationCount() - before;
    };
    FakeStream<DirectSample> direct;
    FakeStream<ConvertedSample> converted;
    direct.handle.setCallbackv([](const auto&) {});
    converted.handle.setCallbackv([](const auto&) {});
    direct.handle.addTo(composite);
    converted.handle.addTo(composite);
    for (int round = 0; round < 100; ++round) {
        EXPECT_EQ(allocationsOf(direct, 9), 0U);
    }
    EXPECT_EQ(allocationsOf(converted, 8), 0U);
    EXPECT_EQ(allocationsOf(converted, 9), 1U);
    // 17 are read: the next 32 wrap into regions of 15 and 17, and both spill.
    EXPECT_EQ(allocationsOf(converted, 32), 2U);
}

TEST_F(StreamHandleTest, AddedAgainTakesANewQueueAndAFurtherPlace) {
    FakeStream<DirectSample> stream;
    stream.handle.addTo(composite);
    ASSERT_TRUE(stream.end.write(samples(1, 1)));
    stream.handle.addTo(composite);
    EXPECT_EQ(stream.end.dataReadyBit, 1U << 1);
    EXPECT_FALSE(stream.handle.read());
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
    stream.prepareResult = Hidl::Result::BAD_STATE;
    EXPECT_DEATH(stream.handle.addTo(composite),
                 fatal("res != Hidl::Result::SUCCESS", "StreamHandle prepareStream failed"));
    stream.prepareResult = Hidl::Result::SUCCESS;
    stream.handle.addTo(composite);
    EXPECT_DEATH(
        stream.handle.setQueueSize(8),
        fatal("fmq_.has_value\\(\\)", "Failed to set queue size: queue has been initialized."));
    FakeStream<DirectSample> huge;
    huge.handle.setQueueSize(SIZE_MAX / 8);
    EXPECT_DEATH(huge.handle.addTo(composite),
                 fatal("!fmq_->isValid\\(\\)", "Failed to create fmq"));
}

// A service that keeps to no rules: it moves the counters itself.
TEST_F(StreamHandleDeathTest, CorruptQueuesAreFatal) {
    constexpr uint64_t kRecord = sizeof(TestSupport::HidlSample);
    FakeStream<DirectSample> stream;
    stream.handle.setQueueSize(4);
    stream.handle.addTo(composite);
    QueueCounters counters{*stream.end.queue};
    const auto readWith = [&](uint64_t read, uint64_t written) {
        counters.read() = read;
        counters.written() = written;
        return stream.handle.read();
    };
    EXPECT_FALSE(readWith(0, kRecord - 1)) << "less than a whole message counts as none";
    EXPECT_DEATH(readWith(0, 5 * kRecord),
                 fatal("avail > queueSize_",
                       "observed FMQ with too many elements; check for races in caller! avail=5, "
                       "capacity=4"));
    EXPECT_DEATH(readWith(3 * kRecord, 0),
                 fatal("static_cast<ssize_t>\\(availBytes\\) < 0",
                       "observed FMQ readPtr ahead of writePtr; check for races in caller! "
                       "availBytes=18446744073709551568"));
    EXPECT_DEATH(readWith(8, 8 + kRecord),
                 fatal("!began", "failed to begin FMQ read of 1 messages"));
    stream.handle.setCallbackv([&](const auto&) {
        fputs("delivered\n", stderr);
        counters.written() = 7 * kRecord;
    });
    EXPECT_DEATH(readWith(0, 2 * kRecord),
                 "^delivered\n" + fatal("!committed", "failed to commit FMQ read of 2 messages"));
}

}  // namespace
