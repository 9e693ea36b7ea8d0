// Fast message queues: batches that wrap, ends in two processes, and peers that lie about the
// memory or the counters.
#include <cutils/ashmem.h>
#include <fmq/MessageQueue.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <fstream>
#include <functional>
#include <numeric>
#include <string>
#include <vector>

#include "platform/echo_service.h"
#include "support/child_process.h"

namespace moriak_test {
namespace {

using android::hardware::GrantorDescriptor;
using android::hardware::kSynchronizedReadWrite;
using android::hardware::MessageQueue;

using Queue = MessageQueue<uint64_t, kSynchronizedReadWrite>;
using Descriptor = Queue::Descriptor;

constexpr size_t kCapacity = 8;

std::vector<uint64_t> numbers(uint64_t first, size_t count) {
    std::vector<uint64_t> result(count);
    std::iota(result.begin(), result.end(), first);
    return result;
}

/** So that the next batch starts this far into the ring. */
void advance(Queue& queue, size_t count) {
    std::vector<uint64_t> records(count);
    ASSERT_TRUE(queue.write(records.data(), count) && queue.read(records.data(), count));
}

size_t mappedQueueParts() {
    std::ifstream maps("/proc/self/maps");
    size_t count = 0;
    for (std::string line; std::getline(maps, line);) {
        if (line.find("memfd:MessageQueue") != std::string::npos) ++count;
    }
    return count;
}

/** Access to a queue's memory without the queue, as a broken peer has. */
class Vandal {
  public:
    explicit Vandal(const Descriptor& descriptor)
        : descriptor_(descriptor),
          size_(static_cast<size_t>(ashmem_get_size_region(descriptor.handle()->data[0]))),
          memory_(mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_SHARED,
                       descriptor.handle()->data[0], 0)) {}
    ~Vandal() { munmap(memory_, size_); }
    Vandal(const Vandal&) = delete;
    Vandal& operator=(const Vandal&) = delete;

    std::atomic<uint64_t>& counter(int grantor) {
        return *reinterpret_cast<std::atomic<uint64_t>*>(
            static_cast<std::byte*>(memory_) +
            descriptor_.grantors()[static_cast<size_t>(grantor)].offset);
    }

  private:
    const Descriptor& descriptor_;
    const size_t size_;
    void* const memory_;
};

TEST(MessageQueueTest, AFullQueueRefusesWholeBatches) {
    Queue queue(kCapacity);
    const std::vector<uint64_t> batch = numbers(1, kCapacity + 1);
    EXPECT_FALSE(queue.write(batch.data(), kCapacity + 1));
    EXPECT_TRUE(queue.write(batch.data(), kCapacity - 1));
    EXPECT_FALSE(queue.write(batch.data(), 2));
    EXPECT_TRUE(queue.write(batch.data() + kCapacity - 1));
    EXPECT_FALSE(queue.write(batch.data()));
    EXPECT_FALSE(queue.commitWrite(1));

    std::vector<uint64_t> result(kCapacity);
    EXPECT_FALSE(queue.read(result.data(), kCapacity + 1));
    ASSERT_TRUE(queue.read(result.data(), kCapacity));
    EXPECT_EQ(result, numbers(1, kCapacity));
}

TEST(MessageQueueTest, ABatchThatWrapsComesInTwoRegionsInOrder) {
    Queue queue(kCapacity);
    advance(queue, 5);
    const std::vector<uint64_t> batch = numbers(1, 6);
    ASSERT_TRUE(queue.write(batch.data(), batch.size()));

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

TEST(MessageQueueTest, ImpossibleCapacitiesMakeNoQueue) {
    for (const size_t capacity : {size_t{0}, SIZE_MAX, SIZE_MAX / 8 + 1, size_t{1} << 28}) {
        Queue queue(capacity);
        EXPECT_FALSE(queue.isValid()) << capacity;
        EXPECT_EQ(queue.getDesc(), nullptr) << capacity;
    }
}

TEST(MessageQueueTest, TheOtherEndKeepsOrEmptiesTheQueueAsAsked) {
    Queue queue(kCapacity, true);
    const uint64_t sent = 42;
    ASSERT_TRUE(queue.write(&sent));
    *queue.getEventFlagWord() = 5;

    Queue reader(*queue.getDesc(), false);
    ASSERT_TRUE(reader.isValid());
    ASSERT_NE(reader.getEventFlagWord(), nullptr);
    EXPECT_EQ(*reader.getEventFlagWord(), 5u);
    uint64_t received = 0;
    EXPECT_TRUE(reader.read(&received));
    EXPECT_EQ(received, 42u);

    ASSERT_TRUE(queue.write(&sent));
    const Queue emptying(*queue.getDesc());
    EXPECT_EQ(queue.availableToRead(), 0u);
}

TEST(MessageQueueTest, ImpossibleCountersAreShownAndThenSkipped) {
    struct Case {
        uint64_t written;
        uint64_t read;
        size_t shownToRead;
    };
    // Ahead by more than the ring; the reader ahead of the writer; both about to overflow.
    for (const auto& [written, read, shown] :
         {Case{9 * 8, 0, 9}, Case{0, 8, SIZE_MAX / 8}, Case{UINT64_MAX, 0, SIZE_MAX / 8}}) {
        Queue queue(kCapacity);
        Vandal vandal(*queue.getDesc());
        vandal.counter(Descriptor::WRITEPTRPOS) = written;
        vandal.counter(Descriptor::READPTRPOS) = read;
        EXPECT_EQ(queue.availableToRead(), shown);
        EXPECT_EQ(queue.availableToWrite(), 0u);
        Queue::MemTransaction transaction;
        EXPECT_FALSE(queue.beginRead(1, &transaction));
        EXPECT_EQ(vandal.counter(Descriptor::READPTRPOS), written);
    }
}

TEST(MessageQueueTest, NoCounterLeadsOutOfTheRing) {
    Queue queue(kCapacity);
    Vandal vandal(*queue.getDesc());
    for (const uint64_t base : {uint64_t{0}, uint64_t{3}, uint64_t{1} << 63, UINT64_MAX - 40}) {
        for (uint64_t used = 0; used <= kCapacity * 8 + 8; ++used) {
            vandal.counter(Descriptor::READPTRPOS) = base;
            vandal.counter(Descriptor::WRITEPTRPOS) = base + used;
            for (size_t count = 0; count <= kCapacity + 1; ++count) {
                Queue::MemTransaction room;
                Queue::MemTransaction records;
                if (queue.beginWrite(count, &room)) {
                    EXPECT_LE(
                        room.getFirstRegion().getLength() + room.getSecondRegion().getLength(),
                        kCapacity);
                }
                std::vector<uint64_t> copy(count);
                if (queue.beginRead(count, &records)) {
                    EXPECT_EQ(base % sizeof(uint64_t), 0u);
                    EXPECT_TRUE(records.copyFrom(copy.data(), 0, count));
                }
            }
        }
    }
}

TEST(MessageQueueTest, ADescriptorThatDoesNotFitItsMemoryMakesNoQueueAndLeavesNothingMapped) {
    const Queue queue(kCapacity, true);
    ASSERT_TRUE(queue.isValid());
    const size_t mappedBefore = mappedQueueParts();
    const size_t descriptorsBefore = TestSupport::resourcesOf(getpid()).descriptors;

    using Grantors = std::vector<GrantorDescriptor>;
    const std::vector<std::function<void(Grantors&)>> lies{
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
    for (size_t i = 0; i < lies.size(); ++i) {
        Grantors grantors = queue.getDesc()->grantors();
        lies[i](grantors);
        const Descriptor descriptor(grantors, native_handle_clone(queue.getDesc()->handle()),
                                    sizeof(uint64_t));
        EXPECT_FALSE(Queue(descriptor).isValid()) << "lie " << i;
    }
    const Grantors honest = queue.getDesc()->grantors();
    EXPECT_FALSE(Queue(Descriptor(honest, nullptr, sizeof(uint64_t))).isValid());
    EXPECT_FALSE(Queue(Descriptor(honest, native_handle_create(0, 1), sizeof(uint64_t))).isValid());
    EXPECT_FALSE(
        Queue(Descriptor(honest, native_handle_clone(queue.getDesc()->handle()), 4)).isValid());

    EXPECT_EQ(mappedQueueParts(), mappedBefore);
    EXPECT_EQ(TestSupport::resourcesOf(getpid()).descriptors, descriptorsBefore);
}

TEST(MessageQueueTest, MemoryThatItsOwnerCanShrinkMakesNoQueue) {
    const Queue queue(kCapacity);
    native_handle_t* handle = native_handle_create(1, 0);
    handle->data[0] = memfd_create("MessageQueue", MFD_ALLOW_SEALING);
    ASSERT_EQ(ftruncate(handle->data[0], 1 << 20), 0);
    const Descriptor descriptor(queue.getDesc()->grantors(), handle, sizeof(uint64_t));
    EXPECT_FALSE(Queue(descriptor).isValid());
}

}  // namespace
}  // namespace moriak_test
