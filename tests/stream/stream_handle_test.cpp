// Reading batches from the shared queue, whole, wrapped, converted and corrupted.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "stream/fake_stream.h"
#include "support/allocation_count.h"
#include "support/queue_counters.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::allocationCount;
using TestSupport::ConvertedSample;
using TestSupport::Delivered;
using TestSupport::DirectSample;
using TestSupport::FakeStream;
using TestSupport::RareSample;
using TestSupport::samples;
using Vek::Sensors::HidlWrapper::CompositeStream;
namespace Hidl = Vek::Sensors::Hidl;

class StreamHandleTest : public ::testing::Test {
  protected:
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
    EXPECT_EQ(stream.end.dataReadyBit, 1U << 0);
    EXPECT_EQ(stream.end.readNotifyBit, 1U << 15);
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

TEST_F(StreamHandleTest, FullQueueIsDeliveredInOneCallAndFreed) {
    FakeStream<DirectSample> stream;
    stream.handle.setQueueSize(4);
    stream.handle.addTo(composite);
    ASSERT_TRUE(stream.end.write(samples(1, 4)));
    EXPECT_FALSE(stream.end.write(samples(5, 1)));
    EXPECT_TRUE(stream.handle.read());
    EXPECT_THAT(stream.calls, ElementsAre(Delivered{{1, 2, 3, 4}, {}}));
    EXPECT_TRUE(stream.end.takeReadDone());
    EXPECT_EQ(stream.end.queue->availableToWrite(), 4U);
}

TEST_F(StreamHandleTest, WrappedBatchIsTwoSpansOfOneCall) {
    FakeStream<DirectSample> stream;
    stream.handle.setQueueSize(5);
    stream.handle.addTo(composite);
    ASSERT_TRUE(stream.end.write(samples(1, 3)) && stream.handle.read());
    ASSERT_TRUE(stream.end.write(samples(4, 5)) && stream.handle.read());
    EXPECT_THAT(stream.calls, ElementsAre(Delivered{{1, 2, 3}, {}}, Delivered{{4, 5}, {6, 7, 8}}));
}

TEST_F(StreamHandleTest, DirectRecordsAreSeenInTheQueueItself) {
    FakeStream<DirectSample> stream;
    stream.handle.addTo(composite);
    uint64_t seen = 0;
    stream.handle.setCallbackv([&](gsl::span<const gsl::span<const DirectSample>> spans) {
        // A change that the service makes to the slot now would not show in a copy.
        TestSupport::QueueCounters{*stream.end.queue}.records<TestSupport::HidlSample>()[0].value =
            77;
        seen = spans[0][0].value;
    });
    ASSERT_TRUE(stream.end.write(samples(1, 1)) && stream.handle.read());
    EXPECT_EQ(seen, 77U);
}

TEST_F(StreamHandleTest, DirectDeliveryDoesNotAllocate) {
    if (!TestSupport::kCountsAllocations) {
        GTEST_SKIP();
    }
    FakeStream<DirectSample> stream;
    stream.handle.addTo(composite);
    size_t seen = 0;
    stream.handle.setCallbackv([&](gsl::span<const gsl::span<const DirectSample>> spans) {
        seen += spans[0].size() + spans[1].size();
    });
    const auto records = samples(1, 9);
    const size_t before = allocationCount();
    for (int round = 0; round < 100; ++round) {
        ASSERT_TRUE(stream.end.write(records) && stream.handle.read());
    }
    EXPECT_EQ(allocationCount(), before);
    EXPECT_EQ(seen, 900U);
}

TEST_F(StreamHandleTest, ConvertedBatchSpillsBeyondTheFixedPart) {
    FakeStream<ConvertedSample> stream;
    stream.handle.addTo(composite);
    ASSERT_TRUE(stream.end.write(samples(1, 8)) && stream.handle.read());
    ASSERT_TRUE(stream.end.write(samples(1, 9)) && stream.handle.read());
    EXPECT_THAT(stream.calls, ElementsAre(Delivered{{1, 2, 3, 4, 5, 6, 7, 8}, {}},
                                          Delivered{{1, 2, 3, 4, 5, 6, 7, 8}, {9}}));

    FakeStream<RareSample> rare;
    rare.handle.addTo(composite);
    ASSERT_TRUE(rare.end.write(samples(1, 3)) && rare.handle.read());
    EXPECT_THAT(rare.calls, ElementsAre(Delivered{{1, 2}, {3}}));
}

TEST_F(StreamHandleTest, WrappedConvertedBatchKeepsTheQueuesOrder) {
    FakeStream<ConvertedSample> stream;
    stream.handle.setQueueSize(11);
    stream.handle.addTo(composite);
    ASSERT_TRUE(stream.end.write(samples(1, 6)) && stream.handle.read());
    ASSERT_TRUE(stream.end.write(samples(10, 11)) && stream.handle.read());
    EXPECT_EQ(stream.calls.back(), (Delivered{{10, 11, 12, 13, 14, 15, 16, 17}, {18, 19, 20}}));
}

TEST_F(StreamHandleTest, ConversionAllocatesOncePerRegionThatSpills) {
    if (!TestSupport::kCountsAllocations) {
        GTEST_SKIP();
    }
    FakeStream<ConvertedSample> stream;
    stream.handle.setQueueSize(32);
    stream.handle.addTo(composite);
    stream.handle.setCallbackv([](const auto&) {});
    const auto allocationsOf = [&](size_t batch) {
        const auto records = samples(0, batch);
        EXPECT_TRUE(stream.end.write(records));
        const size_t before = allocationCount();
        EXPECT_TRUE(stream.handle.read());
        return allocationCount() - before;
    };
    EXPECT_EQ(allocationsOf(8), 0U);
    EXPECT_EQ(allocationsOf(9), 1U);
    // 17 are read: the next 32 wrap into regions of 15 and 17, and both spill.
    EXPECT_EQ(allocationsOf(32), 2U);
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
    FakeStream<DirectSample> direct;
    FakeStream<ConvertedSample> converted;
    direct.handle.setCallbackv({});
    converted.handle.setCallbackv({});
    direct.handle.addTo(composite);
    converted.handle.addTo(composite);
    ASSERT_TRUE(direct.end.write(samples(1, 1)) && converted.end.write(samples(1, 1)));
    EXPECT_THROW(direct.handle.read(), std::bad_function_call);
    EXPECT_THROW(converted.handle.read(), std::bad_function_call);
}

TEST_F(StreamHandleDeathTest, QueueSizeIsFixedOnceAdded) {
    FakeStream<DirectSample> stream;
    stream.handle.addTo(composite);
    EXPECT_DEATH(stream.handle.setQueueSize(8),
                 "F/Moriak-HidlWrapper: Assertion failed: fmq_.has_value\\(\\)\n"
                 "F/Moriak-HidlWrapper: Failed to set queue size: queue has been initialized.\n");
}

TEST_F(StreamHandleDeathTest, QueueThatCannotBeMadeIsFatal) {
    FakeStream<DirectSample> stream;
    stream.handle.setQueueSize(SIZE_MAX / 8);
    EXPECT_DEATH(stream.handle.addTo(composite),
                 "Assertion failed: !fmq_->isValid\\(\\)\nF/Moriak-HidlWrapper: Failed to create "
                 "fmq\n");
}

TEST_F(StreamHandleDeathTest, RefusedPrepareIsFatal) {
    FakeStream<DirectSample> stream;
    stream.prepareResult = Hidl::Result::BAD_STATE;
    EXPECT_DEATH(stream.handle.addTo(composite),
                 "Assertion failed: res != Hidl::Result::SUCCESS\nF/Moriak-HidlWrapper: "
                 "StreamHandle prepareStream failed\n");
}

// A service that keeps to no rules: it moves the counters itself.
class CorruptQueueDeathTest : public StreamHandleDeathTest {
  protected:
    static constexpr uint64_t kRecord = sizeof(TestSupport::HidlSample);

    CorruptQueueDeathTest() {
        stream.handle.setQueueSize(4);
        stream.handle.addTo(composite);
    }

    FakeStream<DirectSample> stream;
};

TEST_F(CorruptQueueDeathTest, TooManyElementsAreFatal) {
    TestSupport::QueueCounters counters{*stream.end.queue};
    counters.written() = 5 * kRecord;
    EXPECT_DEATH(stream.handle.read(),
                 "Assertion failed: avail > queueSize_\nF/Moriak-HidlWrapper: observed FMQ with "
                 "too many elements; check for races in caller! avail=5, capacity=4\n");
}

TEST_F(CorruptQueueDeathTest, ReaderAheadOfWriterIsFatal) {
    TestSupport::QueueCounters counters{*stream.end.queue};
    counters.read() = 3 * kRecord;
    EXPECT_DEATH(stream.handle.read(),
                 "Assertion failed: static_cast<ssize_t>\\(availBytes\\) < 0\n"
                 "F/Moriak-HidlWrapper: observed FMQ readPtr ahead of writePtr; check for races in "
                 "caller! availBytes=18446744073709551568\n");
}

TEST_F(CorruptQueueDeathTest, UnalignedCountersAreFatal) {
    TestSupport::QueueCounters counters{*stream.end.queue};
    counters.read() = 8;
    counters.written() = 8 + kRecord;
    EXPECT_DEATH(stream.handle.read(),
                 "Assertion failed: !began\nF/Moriak-HidlWrapper: failed to begin FMQ read of 1 "
                 "messages\n");
}

TEST_F(CorruptQueueDeathTest, WriterThatOverrunsTheReaderIsFatalAfterTheCallback) {
    ASSERT_TRUE(stream.end.write(samples(1, 2)));
    stream.handle.setCallbackv([this](const auto&) {
        fputs("delivered\n", stderr);
        TestSupport::QueueCounters{*stream.end.queue}.written() = 7 * kRecord;
    });
    EXPECT_DEATH(stream.handle.read(),
                 "^delivered\n.*Assertion failed: !committed\nF/Moriak-HidlWrapper: failed to "
                 "commit FMQ read of 2 messages\n");
}

TEST_F(CorruptQueueDeathTest, LessThanAWholeMessageCountsAsEmpty) {
    TestSupport::QueueCounters counters{*stream.end.queue};
    counters.written() = kRecord - 1;
    EXPECT_FALSE(stream.handle.read());
}

}  // namespace
