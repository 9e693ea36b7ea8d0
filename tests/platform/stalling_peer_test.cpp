// Peers that keep the rules, but stall, flood or hoard: they cost nobody else anything.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <future>

#include "platform/echo_service.h"
#include "platform/peer.h"

namespace moriak_test {
namespace {

using namespace std::chrono_literals;
using android::hardware::details::kMaxDescriptors;

/** As many as one process may have to another. */
constexpr size_t kConnections = 16;

/** The service asks an object of the peer's before it answers. */
Frame callThatCallsBack(const Peer& peer, uint64_t callId) {
    Parcel arguments = argumentsFor(IEcho::descriptor);
    arguments.writeUint32(kObjectItem);
    arguments.writeInt32(0);
    Frame call = callOf(peer.service(), kForward, arguments, callId);
    addObject(call, {5, ObjectOwner::kSender});
    return call;
}

/** Attacks on a service in a process of its own, which has this process as a client, too. */
class StallingClientTest : public testing::Test {
  protected:
    StallingClientTest() { EXPECT_TRUE(isServed()); }

    bool isServed() { return echo_->ping().isOk(); }
    /** Fails the test if a process that has just come is not served. */
    static void serveNewcomer() { const ClientProcess newcomer("attacked"); }
    size_t threads() const { return TestSupport::resourcesOf(process_.pid()).threads; }
    /** The attackers are gone by now. */
    void TearDown() override {
        EXPECT_TRUE(isServed());
        EXPECT_TRUE(becomesTrue([this] {
            return process_.descriptors() <= before_.descriptors &&
                   threads() <= before_.threads + 1;  // one may have been busy before
        }));
    }

    const RuntimeDirectory directory_;
    const ServiceProcess process_{"attacked"};
    const sp<IEcho> echo_ = IEcho::getService("attacked");
    const TestSupport::ProcessResources before_ = TestSupport::resourcesOf(process_.pid());
};

TEST_F(StallingClientTest, MessagesInPiecesHoldNoThreadAndAreServedWhenTheyAreWhole) {
    std::vector<std::unique_ptr<Peer>> peers;
    while (peers.size() < kConnections - 1) peers.push_back(std::make_unique<Peer>("attacked"));
    const auto eachSends = [&](size_t begin, size_t end) {
        for (const auto& peer : peers) {
            const Frame call = callOf(peer->service(), kCollected, argumentsFor(IEcho::descriptor));
            std::vector<uint8_t> bytes(sizeof(call.header));
            std::memcpy(bytes.data(), &call.header, sizeof(call.header));
            bytes.insert(bytes.end(), call.items.begin(), call.items.end());
            end = std::min(end, bytes.size());
            for (size_t i = begin; i < end; ++i) peer->sendBytes(&bytes[i], 1);
        }
    };
    // Up to the header's last byte, then into the items.
    constexpr size_t kBeforeEndOfHeader = sizeof(FrameHeader) - 1;
    constexpr size_t kInItems = sizeof(FrameHeader) + 6;
    eachSends(0, kBeforeEndOfHeader);
    EXPECT_TRUE(isServed());
    eachSends(kBeforeEndOfHeader, kInItems);
    EXPECT_TRUE(isServed());
    EXPECT_TRUE(becomesTrue([this] { return threads() <= before_.threads + 1; }));
    eachSends(kInItems, SIZE_MAX);
    for (const auto& peer : peers) {
        Frame answer;
        EXPECT_TRUE(peer->receive(&answer));
        EXPECT_EQ(answer.header.kind, FrameKind::kReply);
    }
}

TEST_F(StallingClientTest, AThousandConnectionsOfOneProcessLeaveRoomForOthers) {
    std::vector<unique_fd> sockets;
    while (sockets.size() < 1000) sockets.push_back(connectedToService("attacked"));
    EXPECT_TRUE(isServed());
    serveNewcomer();
}

TEST_F(StallingClientTest, APeerThatDoesNotReadItsAnswersIsDropped) {
    Peer peer("attacked");
    Record record;
    record.name = std::string(500'000, 'x');
    const Parcel arguments = argumentsOfReverse({record});
    for (uint64_t callId = 2; callId < 20; ++callId) {
        peer.send(callOf(peer.service(), kReverse, arguments, callId));
    }
    EXPECT_TRUE(isServed());
    serveNewcomer();
    EXPECT_TRUE(becomesTrue([&] { return !peer.isOpen(); }));
}

TEST_F(StallingClientTest, AFloodOfOneWayCallsIsServedOrEndsTheConnection) {
    Peer peer("attacked");
    Parcel arguments = argumentsFor(IEcho::descriptor);
    arguments.writeUint32(7);
    for (int i = 0; i < 20'000; ++i) {
        peer.send(callOf(peer.service(), kCollect, arguments, 0));
    }
    EXPECT_TRUE(isServed());
}

TEST_F(StallingClientTest, AnEndThatComesTogetherWithTheLastCallIsSeen) {
    Parcel arguments = argumentsFor(IEcho::descriptor);
    arguments.writeUint32(7);
    auto peer = std::make_unique<Peer>("attacked");
    kill(process_.pid(), SIGSTOP);
    siginfo_t stopped;
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(process_.pid()), &stopped, WSTOPPED), 0);
    peer->send(callOf(peer->service(), kCollect, arguments, 0));
    peer.reset();
    kill(process_.pid(), SIGCONT);
}

TEST_F(StallingClientTest, CallsNestedWithoutEndAreEndedBeforeTheStackIs) {
    Peer peer("attacked");
    Frame nested;
    uint64_t callId = 2;
    do {
        Frame call = callThatCallsBack(peer, callId++);
        call.header.parentCallId = nested.header.callId;
        peer.send(call);
    } while (callId < 1000 && peer.receive(&nested));
    EXPECT_LT(callId, 1000U);
    EXPECT_TRUE(isServed());
}

TEST_F(StallingClientTest, AReplyThatIsGivenTwiceEndsTheConnection) {
    Peer peer("attacked");
    peer.send(callThatCallsBack(peer, 2));
    Frame question;
    ASSERT_TRUE(peer.receive(&question));
    Parcel answer;
    answer.writeInt32(0);
    answer.writeInt32(42);
    peer.reply(question.header.callId, answer);
    Frame first;
    EXPECT_TRUE(peer.receive(&first));
    EXPECT_EQ(first.header.kind, FrameKind::kReply);
    peer.reply(question.header.callId, answer);
    EXPECT_TRUE(peer.isDropped());
}

TEST_F(StallingClientTest, DescriptorsOfMessagesThatAreNeverWholeDoNotUseUpThoseOfTheProcess) {
    // The kernel is not to refuse what the process would.
    rlimit limit{};
    ASSERT_EQ(prlimit(process_.pid(), RLIMIT_NOFILE, nullptr, &limit), 0);
    limit.rlim_cur = limit.rlim_max;
    ASSERT_EQ(prlimit(process_.pid(), RLIMIT_NOFILE, &limit, nullptr), 0);
    std::vector<std::unique_ptr<Peer>> peers;
    while (peers.size() < kConnections - 1) peers.push_back(std::make_unique<Peer>("attacked"));
    const size_t unused = process_.descriptors();
    for (const auto& peer : peers) {
        Frame call = callOf(peer->service(), kReverse, argumentsFor(IEcho::descriptor));
        call.header.itemBytes += 1000;
        while (call.descriptors.size() < kMaxDescriptors) {
            call.descriptors.emplace_back(dup(STDERR_FILENO));
        }
        peer->send(call);
    }
    constexpr size_t kHalfOfUsualLimit = 512;
    const auto isOpen = [](const auto& peer) { return peer->isOpen(); };
    EXPECT_TRUE(becomesTrue([&] {
        const auto open = static_cast<size_t>(std::count_if(peers.begin(), peers.end(), isOpen));
        return open * kMaxDescriptors <= kHalfOfUsualLimit;
    }));
    EXPECT_TRUE(becomesTrue([&] { return process_.descriptors() <= unused + kHalfOfUsualLimit; }));
    EXPECT_TRUE(isServed());
    serveNewcomer();
}

TEST(StallingServiceTest, LookUpsThatAreNotAnsweredEndInTimeAndHoldNobodyUp) {
    const RuntimeDirectory directory;
    const ServiceProcess process("good");
    const auto expectToEnd = [](const char* instance) {
        auto stalled = std::async(std::launch::async, [=] { return IEcho::getService(instance); });
        const sp<IEcho> good = IEcho::getService("good");
        EXPECT_TRUE(good != nullptr && good->ping().isOk());
        const bool isInTime = stalled.wait_for(30s) == std::future_status::ready;
        EXPECT_TRUE(isInTime);
        if (isInTime) EXPECT_EQ(stalled.get(), nullptr);
    };
    std::promise<void> end;
    const std::shared_future<void> isOver = end.get_future();
    // Not even accepted: there is one in the backlog already. Then accepted, but not answered.
    const FakeService deaf(
        "deaf", [=](int /*listener*/) { isOver.wait(); }, 0);
    const unique_fd first = connectedToService("deaf");
    expectToEnd("deaf");
    const FakeService mute("mute", [=](int listener) {
        const Peer client = acceptFrom(listener);
        isOver.wait();
    });
    expectToEnd("mute");
    end.set_value();
}

}  // namespace
}  // namespace moriak_test
