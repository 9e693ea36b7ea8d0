// Waiting on many streams: time-outs, wakes, order, capacity.
#include "stream/composite_stream.h"

#include <chrono>
#include <deque>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "stream/fake_stream.h"
#include "support/event_flag_peer.h"
#include "support/fatal_calls.h"

namespace {

using namespace ::testing;
using namespace std::chrono_literals;
using namespace TestSupport;
using Vek::Sensors::WaitResult;
using Clock = std::chrono::steady_clock;

class CompositeStreamTest : public Test {
  protected:
    FakeStream<DirectSample>& addStream() {
        FakeStream<DirectSample>& stream = streams.emplace_back();
        stream.handle.addTo(composite);
        return stream;
    }

    EventFlagPeer peer;
    Vek::Sensors::HidlWrapper::CompositeStream composite{"test"};
    std::deque<FakeStream<DirectSample>> streams;
};
using CompositeStreamDeathTest = CompositeStreamTest;

TEST_F(CompositeStreamTest, WithoutStreamsTimesOutAtAnyTimeAndCanBeWoken) {
    EXPECT_EQ(composite.waitUntil(Clock::time_point::min()), WaitResult::NOTHING_DELIVERED);
    for (const auto time : {std::chrono::nanoseconds::min(), -1ns, 0ns, 1ns}) {
        EXPECT_EQ(composite.waitFor(time), WaitResult::NOTHING_DELIVERED);
    }
    composite.wake();
    EXPECT_EQ(composite.wait(), WaitResult::WOKEN);
    EXPECT_EQ(composite.waitFor(1ns), WaitResult::NOTHING_DELIVERED);
    composite.wake();
    EXPECT_EQ(composite.waitFor(std::chrono::nanoseconds::max()), WaitResult::WOKEN);
}

TEST_F(CompositeStreamTest, WaitsForTheRemainingTimeOnly) {
    const auto timeoutOf = [this](auto wait) {
        composite.wake();
        EXPECT_EQ(wait(), WaitResult::WOKEN);
        return peer.timeouts.back();
    };
    const auto anHour = AllOf(Le(3'600'000'000'000), Gt(3'500'000'000'000));
    EXPECT_THAT(timeoutOf([this] { return composite.waitFor(1h); }), anHour);
    EXPECT_THAT(timeoutOf([this] { return composite.waitUntil(Clock::now() + 1h); }), anHour);
    EXPECT_EQ(timeoutOf([this] { return composite.wait(); }), 0) << "without limit";
    EXPECT_TRUE(peer.goOn) << "in spite of wakes for others";
    // A short time may run out before the event flag is used, or during its wait; repeat until the
    // latter.
    for (peer.timeouts.clear(); peer.timeouts.empty();) {
        EXPECT_EQ(composite.waitFor(1ms), WaitResult::NOTHING_DELIVERED);
    }
}

TEST_F(CompositeStreamTest, BitsOfNoStreamAreIgnoredAtOnceAndAfterAWake) {
    auto& only = addStream();
    peer.strayBits = 0x7FFF'FFFE;
    ASSERT_TRUE(only.end.writeAndSignal(samples(1, 1)));
    EXPECT_EQ(composite.wait(), WaitResult::DELIVERED);
    composite.wake();
    EXPECT_EQ(composite.wait(), WaitResult::WOKEN);
    EXPECT_EQ(composite.wait(), WaitResult::NOTHING_DELIVERED);
    EXPECT_THAT(only.calls, SizeIs(1));
}

TEST_F(CompositeStreamTest, ReleasesItsMemoryAndAcceptsALongName) {
    const auto count = [](const char* directory) {
        return std::distance(std::filesystem::directory_iterator{directory}, {});
    };
    for (const char* const kept : {"/proc/self/fd", "/proc/self/map_files"}) {
        const auto before = count(kept);
        {
            const Vek::Sensors::HidlWrapper::CompositeStream brief{std::string(300, 'x')};
            EXPECT_EQ(count(kept), before + 1);
        }
        EXPECT_EQ(count(kept), before);
    }
}

TEST_F(CompositeStreamTest, DeadlineInThePastReadsEveryStreamWithoutItsBit) {
    auto& first = addStream();
    auto& second = addStream();
    ASSERT_TRUE(first.end.write(samples(1, 1)) && second.end.write(samples(2, 1)));
    EXPECT_EQ(composite.waitUntil(Clock::now() - 1s), WaitResult::DELIVERED);
    EXPECT_THAT(first.calls, ElementsAre(Delivered{{1}, {}}));
    EXPECT_THAT(second.calls, ElementsAre(Delivered{{2}, {}}));
}

TEST_F(CompositeStreamTest, OnlySignalledStreamsAreRead) {
    auto& quiet = addStream();
    auto& loud = addStream();
    auto& empty = addStream();
    ASSERT_TRUE(quiet.end.write(samples(1, 1)) && loud.end.writeAndSignal(samples(2, 1)));
    empty.end.signal();
    EXPECT_EQ(composite.wait(), WaitResult::DELIVERED) << "by one of two";
    EXPECT_THAT(quiet.calls, IsEmpty());
    EXPECT_THAT(loud.calls, ElementsAre(Delivered{{2}, {}}));
    EXPECT_TRUE(loud.end.takeReadDone());
    EXPECT_FALSE(quiet.end.takeReadDone());
}

TEST_F(CompositeStreamTest, WakeTogetherWithDataKeepsTheDataForTheNextWait) {
    auto& stream = addStream();
    ASSERT_TRUE(stream.end.writeAndSignal(samples(1, 1)));
    composite.wake();
    EXPECT_EQ(composite.wait(), WaitResult::WOKEN);
    EXPECT_THAT(stream.calls, IsEmpty());
    // The bit was cleared in the word, so this wait can only return because the composite kept it.
    EXPECT_EQ(composite.wait(), WaitResult::DELIVERED);
    EXPECT_THAT(stream.calls, ElementsAre(Delivered{{1}, {}}));
    composite.wake();
    EXPECT_EQ(composite.wait(), WaitResult::WOKEN) << "it was kept once";
}

TEST_F(CompositeStreamTest, WaitsUntilAnotherThreadDeliversOrWakes) {
    auto& stream = addStream();
    std::thread service{[&] {
        stream.end.writeAndSignal(samples(1, 1));
        composite.wake();
    }};
    while (composite.wait() != WaitResult::WOKEN) {
    }
    service.join();
    composite.waitFor(0ns);
    EXPECT_THAT(stream.calls, ElementsAre(Delivered{{1}, {}}));
}

TEST_F(CompositeStreamDeathTest, FifteenStreamsAreServedInTheirOrderAndASixteenthIsFatal) {
    std::vector<size_t> order;
    for (size_t i = 0; i < 15; ++i) {
        auto& stream = addStream();
        stream.handle.setCallbackv([&order, i](const auto&) { order.push_back(i); });
        EXPECT_EQ(stream.end.dataReadyBit, 1U << i);
        EXPECT_EQ(stream.end.readNotifyBit, 1U << (i + 15));
    }
    for (size_t i = 15; i-- > 0;) {
        ASSERT_TRUE(streams[i].end.writeAndSignal(samples(i, 1)));
    }
    EXPECT_EQ(composite.wait(), WaitResult::DELIVERED);
    EXPECT_THAT(order, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14));
    expectFatal({{assertion("streams_.size() == streams_.capacity()",
                            "cannot add any more streams, capacity = 15"),
                  [&] { addStream(); }}});
    peer.failure = -EINVAL;
    expectFatal({{assertion("status != android::NO_ERROR",
                            "Unexpected error code from EventFlag::wait: status -22"),
                  [&] { composite.wait(); }}});
}

}  // namespace
