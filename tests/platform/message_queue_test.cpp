// Fast message queues: batches that wrap, and peers that lie about the memory or the counters.
#include <fmq/MessageQueue.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <numeric>
#include <vector>

#include "support/child_process.h"
#include "support/queue_counters.h"

namespace moriak_test {
namespace {

using TestSupport::QueueCounters;
using TestSupport::resourcesOf;

using Queue = android::hardware::MessageQueue<uint64_t, android::hardware::kSynchronizedReadWrite>;
using Descriptor = Queue::Descriptor;
using Grantors = std::vector<android::hardware::GrantorDescriptor>;

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

TEST(MessageQueueTest, ImpossibleCountersAreShownAndThenSkipped) {
    // Ahead by more than the ring; the reader ahead of the writer; both about to overflow.
    for (const auto& [written, read, shown] : std::vector<std::array<uint64_t, 3>>{
             {9 * 8, 0, 9}, {0, 8, UINT64_MAX / 8}, {UINT64_MAX, 0, UINT64_MAX / 8}}) {
        Queue queue(kCapacity);
        QueueCounters counters(queue);
        counters.written() = written;
        counters.read() = read;
        EXPECT_EQ(queue.availableToRead(), shown);
        EXPECT_EQ(queue.availableToWrite(), 0u);
        Queue::MemTransaction transaction;
        EXPECT_FALSE(queue.beginRead(1, &transaction));
        EXPECT_EQ(counters.read(), written);
    }
}

TEST(MessageQueueTest, NoCounterLeadsOutOfTheRing) {
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
    const Queue queue(kCapacity, true);
    const auto before = resourcesOf(getpid());
    const native_handle_t* const handle = queue.getDesc()->handle();
    const auto isQueue = [](const Grantors& grantors, native_handle_t* ownHandle,
                            size_t quantum = sizeof(uint64_t)) {
        return Queue(Descriptor(grantors, ownHandle, quantum)).isValid();
    };
    const Grantors honest = queue.getDesc()->grantors();
    EXPECT_TRUE(isQueue(honest, native_handle_clone(handle)));

    void (*const lies[])(Grantors&) = {
        [](Grantors& grantors) { grantors.clear(); },
        [](Grantors& grantors) { grantors.resize(Descriptor::kMinGrantorCount - 1); },
        [](Grantors& grantors) { grantors[0].extent = 4; },
        [](Grantors& grantors) { grantors[1].offset = 4; },
        [](Grantors& grantors) { grantors[1].offset = UINT32_MAX - 7; },
        [](Grantors& grantors) { grantors[1].fdIndex = 1; },
        [](Grantors& grantors) { grantors[2].fdIndex = UINT32_MAX; },
        [](Grantors& grantors) { grantors[2].offset += 8; },
        [](Grantors& grantors) { grantors[2].offset -= 1; },
        [](Grantors& grantors) { grantors[2].extent = 0; },
        [](Grantors& grantors) { grantors[2].extent -= 1; },
        [](Grantors& grantors) { grantors[2].extent += 8; },
        [](Grantors& grantors) { grantors[2].extent = UINT64_MAX - 7; },
    };
    for (const auto& lie : lies) {
        Grantors grantors = honest;
        lie(grantors);
        EXPECT_FALSE(isQueue(grantors, native_handle_clone(handle))) << "lie " << &lie - lies;
    }
    EXPECT_FALSE(isQueue(honest, nullptr));
    EXPECT_FALSE(isQueue(honest, native_handle_create(0, 1)));
    EXPECT_FALSE(isQueue(honest, native_handle_clone(handle), 4));

    native_handle_t* const canShrink = native_handle_create(1, 0);
    canShrink->data[0] = memfd_create("MessageQueue", MFD_ALLOW_SEALING);
    ASSERT_EQ(ftruncate(canShrink->data[0], 1 << 20), 0);
    EXPECT_FALSE(isQueue(honest, canShrink));
    EXPECT_EQ(resourcesOf(getpid()), before);
}

}  // namespace
}  // namespace moriak_test
