// Fast message queues: batches that wrap, and peers that lie about the memory or the counters.
#include <fmq/MessageQueue.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

#include "support/broken_queue.h"
#include "support/child_process.h"
#include "support/queue_counters.h"

namespace moriak_test {
namespace {

using TestSupport::QueueCounters;
using TestSupport::QueueParts;
using TestSupport::queueParts;
using TestSupport::resourcesOf;

using Queue = android::hardware::MessageQueue<uint64_t, android::hardware::kSynchronizedReadWrite>;

constexpr size_t kCapacity = 8;

std::vector<uint64_t> numbers(uint64_t first, size_t count) {
    std::vector<uint64_t> result(count);
    std::iota(result.begin(), result.end(), first);
    return result;
}

TEST(MessageQueueTest, ABatchThatWrapsComesInTwoRegionsInOrder) {
    Queue queue(kCapacity);
    std::vector<uint64_t> batch = numbers(1, 6);
    ASSERT_TRUE(queue.write(batch.data(), 5) && queue.read(batch.data(), 5));
    ASSERT_TRUE(queue.write(batch.data(), 6));
    EXPECT_FALSE(queue.write(batch.data(), 3)) << "all or nothing";

    Queue::MemTransaction transaction;
    ASSERT_TRUE(queue.beginRead(6, &transaction));
    EXPECT_EQ(transaction.getFirstRegion().getLength(), 3u);
    EXPECT_EQ(transaction.getSecondRegion().getLength(), 3u);
    for (size_t i = 0; i < 6; ++i) EXPECT_EQ(*transaction.getSlot(i), batch[i]);
    EXPECT_EQ(transaction.getSlot(6), nullptr);

    std::vector<uint64_t> part(3);
    for (const size_t start : {0u, 2u, 3u}) {
        ASSERT_TRUE(transaction.copyFrom(part.data(), start, 3));
        EXPECT_EQ(part, numbers(1 + start, 3)) << start;
    }
    EXPECT_FALSE(transaction.copyFrom(part.data(), 4, 3));
    EXPECT_FALSE(transaction.copyTo(part.data(), SIZE_MAX, 3));
    EXPECT_TRUE(queue.commitRead(6));
    EXPECT_EQ(queue.availableToRead(), 0u);
}

TEST(MessageQueueTest, TheOtherEndKeepsOrEmptiesTheQueueAsAsked) {
    Queue queue(kCapacity, true);
    uint64_t record = 42;
    ASSERT_TRUE(queue.write(&record));
    *queue.getEventFlagWord() = 5;

    Queue reader(*queue.getDesc(), false);
    ASSERT_NE(reader.getEventFlagWord(), nullptr);
    EXPECT_EQ(*reader.getEventFlagWord(), 5u);
    EXPECT_TRUE(reader.read(&(record = 0)));
    EXPECT_EQ(record, 42u);

    ASSERT_TRUE(queue.write(&record));
    const Queue emptying(*queue.getDesc());
    EXPECT_EQ(queue.availableToRead(), 0u);
}

TEST(MessageQueueTest, ImpossibleCountersAreReportedAndThenSkipped) {
    // Ahead by more than the ring; the reader ahead of the writer; both about to overflow.
    for (const auto& [written, read, shown] : std::vector<std::array<uint64_t, 3>>{
             {9 * 8, 0, 9}, {0, 8, UINT64_MAX / 8}, {UINT64_MAX, 0, UINT64_MAX / 8}}) {
        Queue queue(kCapacity);
        QueueCounters counters(queue);
        counters.written() = written;
        counters.read() = read;
        EXPECT_EQ(queue.availableToRead(), shown);
        EXPECT_EQ(queue.availableToWrite(),
                  static_cast<size_t>((kCapacity * 8 - (written - read)) / 8));
        Queue::MemTransaction transaction;
        EXPECT_FALSE(queue.beginWrite(1, &transaction));
        EXPECT_FALSE(queue.beginRead(1, &transaction));
        EXPECT_EQ(counters.read(), written);
    }
}

TEST(MessageQueueTest, AQueueOfZeroRecordsIsValidAndAcceptsNone) {
    Queue queue(0);
    Queue otherEnd(*queue.getDesc());
    ASSERT_TRUE(queue.isValid() && otherEnd.isValid());
    EXPECT_EQ(queue.getQuantumCount(), 0u);
    uint64_t record = 0;
    EXPECT_TRUE(queue.write(&record, 0));
    EXPECT_FALSE(queue.write(&record));
    EXPECT_FALSE(otherEnd.read(&record));
}

TEST(MessageQueueTest, NoCounterCausesAccessOutsideTheRing) {
    Queue queue(kCapacity);
    QueueCounters counters(queue);
    std::vector<uint64_t> copy(kCapacity);
    for (const uint64_t base : {uint64_t{0}, uint64_t{3}, uint64_t{1} << 63, UINT64_MAX - 40}) {
        for (uint64_t used = 0; used <= kCapacity * 8 + 8; ++used) {
            for (size_t count = 0; count <= kCapacity + 1; ++count) {
                counters.read() = base;
                counters.written() = base + used;
                Queue::MemTransaction transaction;
                if (queue.beginWrite(count, &transaction)) {
                    EXPECT_FALSE(transaction.copyFrom(copy.data(), 0, kCapacity + 1));
                    EXPECT_TRUE(transaction.copyFrom(copy.data(), 0, count));
                }
                if (queue.beginRead(count, &transaction)) {
                    EXPECT_EQ(base % sizeof(uint64_t), 0u);
                    EXPECT_TRUE(transaction.copyFrom(copy.data(), 0, count));
                }
            }
        }
    }
}

TEST(MessageQueueTest, ADescriptorThatDoesNotFitItsMemoryMakesNoQueueAndLeavesNothingMapped) {
    const auto before = resourcesOf(getpid());
    const auto isQueue = [](const QueueParts& parts) {
        return Queue(TestSupport::descriptorOf<uint64_t>(parts)).isValid();
    };
    EXPECT_TRUE(isQueue(queueParts<uint64_t>(kCapacity)));
    EXPECT_FALSE(Queue(Queue::Descriptor()).isValid());
    for (const auto& [name, spoil] : TestSupport::kBrokenQueues) {
        QueueParts parts = queueParts<uint64_t>(kCapacity);
        spoil(parts);
        // Useless, but valid.
        const bool hasNoRecords = parts.grantors.size() > 2 && parts.grantors[2].extent == 0;
        EXPECT_EQ(isQueue(parts), hasNoRecords) << name;
    }
    for (const auto& [name, make] : TestSupport::kNoMemory) {
        QueueParts parts = queueParts<uint64_t>(kCapacity);
        close(std::exchange(parts.descriptors[0], make()));
        EXPECT_FALSE(isQueue(parts)) << name;
    }
    EXPECT_EQ(resourcesOf(getpid()), before);
}

}  // namespace
}  // namespace moriak_test
