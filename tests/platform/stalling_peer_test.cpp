// Peers that keep the protocol, but stall, flood or hoard: others must not notice.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/echo_service.h"
#include "platform/peer.h"
#include "transport/Backlog.h"
#include "transport/ObjectTable.h"
#include "transport/ThreadPool.h"

namespace moriak_test {
namespace {

using namespace std::chrono_literals;
using android::hardware::details::CallWindow;
using android::hardware::details::kMaxDescriptors;
using android::hardware::details::ThreadPool;

/** As many as one process may have to another. */
constexpr size_t kConnections = 8;
/** As many threads as a process may occupy; they are fewer than those of its connections. */
constexpr size_t kThreads = 64;

Parcel argumentsOfCollect(uint32_t number) {
    Parcel arguments = argumentsFor(IEcho::descriptor);
    arguments.writeUint32(number);
    return arguments;
}

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
        if (process_.pid() < 0) return;  // the test has killed it
        EXPECT_TRUE(isServed());
        EXPECT_TRUE(becomesTrue([this] {
            return process_.descriptors() <= before_.descriptors &&
                   threads() <= before_.threads + 1;  // one may have been busy before
        }));
    }

    const RuntimeDirectory& directory_ = RuntimeDirectory::ofProgram();
    ServiceProcess process_{"attacked"};
    const sp<IEcho> echo_ = IEcho::getService("attacked");
    const TestSupport::ProcessResources before_ = TestSupport::resourcesOf(process_.pid());
};

TEST_F(StallingClientTest, IncompleteMessagesBlockNoThreadAndAreServedWhenComplete) {
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
    std::vector<Peer> peers;
    while (peers.size() < 1000) peers.emplace_back(connectedToService("attacked"));
    EXPECT_TRUE(isServed());
    serveNewcomer();
    EXPECT_EQ(
        std::count_if(peers.begin(), peers.end(), [](const Peer& peer) { return peer.isOpen(); }),
        kConnections - 1)
        << "one is the runtime's own";
}

TEST_F(StallingClientTest, APeerThatDoesNotReadItsAnswersIsDropped) {
    Peer peer("attacked");
    Record record;
    record.name = std::string(500'000, 'x');
    const Parcel arguments = argumentsOfReverse({record});
    for (uint64_t callId = 2; callId < 5; ++callId) {
        peer.send(callOf(peer.service(), kReverse, arguments, callId));
    }
    EXPECT_TRUE(isServed());
    serveNewcomer();
    EXPECT_TRUE(becomesTrue([&] { return !peer.isOpen(); }));
}

TEST_F(StallingClientTest, HangingCallsOccupyFewThreadsAndNoneOfOtherClients) {
    std::vector<std::unique_ptr<Peer>> peers;
    while (peers.size() < kConnections - 1) peers.push_back(std::make_unique<Peer>("attacked"));
    for (const auto& peer : peers) {
        for (uint64_t callId = 2; callId < 120; ++callId) {
            peer->send(callOf(peer->service(), kHang, argumentsFor(IEcho::descriptor), callId));
        }
    }
    EXPECT_TRUE(becomesTrue([&] { return threads() >= kThreads; }));
    serveNewcomer();
    EXPECT_LE(threads(), kThreads + before_.threads + 2);
    // They never return.
    process_.kill();
}

TEST(FewThreadsTest, AreNotAllOccupiedByOneProcess) {
    struct SlowService : EchoService {
        Return<void> hang() override {
            isOpen.wait();
            return android::hardware::Void();
        }
        std::promise<void> gate;
        std::shared_future<void> isOpen = gate.get_future();
    };
    RuntimeDirectory::ofProgram();
    const sp<SlowService> slow = new SlowService;
    ASSERT_EQ(slow->registerAsService("few"), android::OK);
    ThreadPool::self().setMaxBusyThreads(3);
    std::vector<std::unique_ptr<Peer>> peers;
    while (peers.size() < 4) peers.push_back(std::make_unique<Peer>("few"));
    for (const auto& peer : peers) {
        peer->send(callOf(peer->service(), kHang, argumentsFor(IEcho::descriptor)));
    }
    const ClientProcess newcomer("few");
    slow->gate.set_value();
    for (const auto& peer : peers) {
        Frame answer;
        EXPECT_TRUE(peer->receive(&answer)) << "none is forgotten";
    }
    ThreadPool::self().setMaxBusyThreads(SIZE_MAX);
}

TEST_F(StallingClientTest, CallsWithDescriptorsThatComeTogetherAreAllServed) {
    constexpr uint64_t kCalls = 4;
    Peer peer("attacked");
    hidl_vec<Record> records(1);
    const Parcel arguments = argumentsOfReverse(records);
    kill(process_.pid(), SIGSTOP);
    for (uint64_t callId = 2; callId < 2 + kCalls; ++callId) {
        Frame call = callOf(peer.service(), kReverse, arguments, callId);
        call.descriptors.emplace_back(dup(STDERR_FILENO));
        call.header.descriptorCount = 1;
        peer.send(call);
    }
    kill(process_.pid(), SIGCONT);
    for (uint64_t i = 0; i < kCalls; ++i) {
        Frame answer;
        EXPECT_TRUE(peer.receive(&answer));
        EXPECT_EQ(answer.header.status, android::OK);
    }
}

/** What is sent to the peer is not read: nothing that it makes us queue grows without bound. */
TEST_F(StallingClientTest, APeerThatSendsObjectsAndTakesNoneBackIsDropped) {
    Peer peer("attacked");
    uint64_t objectId = 1;
    Frame call = callOf(peer.service(), kCollect, argumentsOfCollect(7), 0);
    while (peer.isOpen() && objectId < 10'000'000) {
        call.objects.clear();
        while (call.objects.size() < 256) addObject(call, {objectId++, ObjectOwner::kSender});
        peer.send(call);
    }
    EXPECT_FALSE(peer.isOpen());
}

TEST_F(StallingClientTest, ConnectionEndThatArrivesWithTheLastCallIsNoticed) {
    auto peer = std::make_unique<Peer>("attacked");
    Peer halfClosed("attacked");
    kill(process_.pid(), SIGSTOP);
    siginfo_t stopped;
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(process_.pid()), &stopped, WSTOPPED), 0);
    peer->send(callOf(peer->service(), kCollect, argumentsOfCollect(7), 0));
    peer.reset();
    halfClosed.send(callOf(halfClosed.service(), kCollect, argumentsOfCollect(7), 0));
    halfClosed.finish(0);
    kill(process_.pid(), SIGCONT);
    EXPECT_TRUE(halfClosed.isDropped());
}

TEST_F(StallingClientTest, ACallNestedTooDeepFailsAlone) {
    Peer peer("attacked");
    Frame nested;
    uint64_t callId = 2;
    do {
        Frame call = callThatCallsBack(peer, callId++);
        call.header.parentCallId = nested.header.callId;
        peer.send(call);
        ASSERT_TRUE(peer.receive(&nested));
    } while (callId < 1000 && nested.header.kind == FrameKind::kTransaction);
    EXPECT_LT(callId, 200U);
    EXPECT_EQ(nested.header.kind, FrameKind::kReply);
    EXPECT_EQ(nested.header.callId, callId - 1);
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

TEST_F(StallingClientTest, TwoCallsNestedInOneEndTheConnection) {
    Peer peer("attacked");
    peer.send(callThatCallsBack(peer, 2));
    Frame question;
    ASSERT_TRUE(peer.receive(&question));
    Frame nested = callOf(peer.service(), kHang, argumentsFor(IEcho::descriptor), 3);
    nested.header.parentCallId = question.header.callId;
    for (; nested.header.callId < 6; ++nested.header.callId) peer.send(nested);
    EXPECT_TRUE(peer.isDropped());
    process_.kill();  // one of them hangs
}

TEST_F(StallingClientTest, IncompleteMessagesCannotExhaustTheDescriptorsOfTheProcess) {
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

/** Of a service that keeps the listeners it is given. */
TEST(HoardTest, NeitherSideKeepsMoreObjectsThanItMay) {
    constexpr uint64_t kMost = android::hardware::details::ObjectTable::kMaxObjectsHeld;
    struct Hoarder : EchoService {
        Return<void> keep(const sp<IListener>& listener) override {
            listeners.push_back(listener);
            return android::hardware::Void();
        }
        std::vector<sp<IListener>> listeners;
    };
    RuntimeDirectory::ofProgram();
    const sp<Hoarder> hoarder = new Hoarder;
    ASSERT_EQ(hoarder->registerAsService("hoarder"), android::OK);
    Peer peer("hoarder");
    uint64_t sent = 0;
    for (bool isAnswered = true; isAnswered && sent < 2 * kMost; sent += isAnswered ? 1 : 0) {
        Parcel arguments = argumentsFor(IEcho::descriptor);
        arguments.writeUint32(kObjectItem);
        Frame call = callOf(peer.service(), kKeep, arguments, 2 + sent);
        addObject(call, {1 + sent, ObjectOwner::kSender});
        peer.send(call);
        Frame answer;
        isAnswered = peer.receive(&answer);
    }
    EXPECT_EQ(sent, kMost);

    // The root is one of them.
    const FakeService fake("greedy", [](int listener) {
        Peer client = acceptFrom(listener);
        Parcel results;
        results.writeUint32(kObjectItem);
        std::vector<ObjectReference> service{{5, ObjectOwner::kSender}};
        for (Frame call; client.receive(&call); service.clear()) {
            if (call.header.kind == FrameKind::kRelease) return;
            client.reply(call.header.callId, results, service);
            results = Parcel();
            results.writeInt32(0);
        }
    });
    sp<IEcho> greedy = IEcho::getService("greedy");
    ASSERT_NE(greedy, nullptr);
    uint64_t kept = 0;
    while (kept < 2 * kMost && greedy->keep(new Listener).isOk()) ++kept;
    EXPECT_EQ(kept, kMost - 1);
    EXPECT_TRUE(greedy->ping().isOk());
}

TEST(CallWindowTest, CountsBytesAndDescriptors) {
    FrameHeader header;
    const size_t least = CallWindow::costOf(header);
    EXPECT_GT(least, 0U);
    header.itemBytes = 1000;
    EXPECT_EQ(CallWindow::costOf(header), least + 1000);
    header.descriptorCount = kMaxDescriptors;
    EXPECT_GT(CallWindow::costOf(header), CallWindow::kSize / 2);
    CallWindow window;
    EXPECT_TRUE(window.take(10 * CallWindow::kSize)) << "one that is alone, however large";
    EXPECT_FALSE(window.take(1));
    EXPECT_FALSE(window.giveBack(10 * CallWindow::kSize + 1));
    EXPECT_TRUE(window.giveBack(10 * CallWindow::kSize));
    EXPECT_TRUE(window.take(CallWindow::kSize) && !window.take(1));
}

/** So many small one-way calls may wait. */
size_t callsInWindow(const Frame& call) {
    return CallWindow::kSize / CallWindow::costOf(call.header);
}

TEST(OneWayCallsTest, WaitOnlyForCallsOfTheirObjectAndAreLimitedInNumber) {
    struct SlowService : EchoService {
        Return<void> collect(uint32_t number) override {
            isOpen.wait();
            return EchoService::collect(number);
        }
        std::promise<void> gate;
        std::shared_future<void> isOpen = gate.get_future();
    };
    RuntimeDirectory::ofProgram();
    const sp<SlowService> slow = new SlowService;
    const sp<EchoService> other = new EchoService;
    ASSERT_EQ(slow->registerAsService("slow"), android::OK);
    ASSERT_EQ(other->registerAsService("other"), android::OK);
    Peer peer("slow");
    const Frame slowCall = callOf(peer.service(), kCollect, argumentsOfCollect(1), 0);
    size_t calls = 0;
    for (; calls < callsInWindow(slowCall) - 1; ++calls) peer.send(slowCall);
    ASSERT_TRUE(peer.isServed("other"));
    peer.send(callOf(peer.service(), kCollect, argumentsOfCollect(2), 0));
    const auto isCollected = [](EchoService& service, size_t count) {
        size_t collected = 0;
        service.collected([&](const auto& numbers) { collected = numbers.size(); });
        return collected == count;
    };
    EXPECT_TRUE(becomesTrue([&] { return isCollected(*other, 1); }));
    ASSERT_TRUE(peer.isServed("other")) << "there is room again for one";
    for (int i = 0; i < 3; ++i) peer.send(slowCall);
    EXPECT_TRUE(peer.isDropped());
    slow->gate.set_value();
    EXPECT_TRUE(becomesTrue([&] { return isCollected(*slow, 1); })) << "the one that had begun";
}

TEST(OneWayCallsTest, AreSentWhenThereIsRoomForThem) {
    RuntimeDirectory::ofProgram();
    constexpr size_t kCallsServed = 600;
    std::promise<size_t> full;
    const FakeService fake("full", [&](int listener) {
        Peer client = acceptFrom(listener);
        Frame call;
        EXPECT_TRUE(client.receive(&call));
        Parcel service;
        service.writeUint32(kObjectItem);
        client.reply(call.header.callId, service, {{5, ObjectOwner::kSender}});
        const auto receiveCalls = [&](size_t count) {
            for (; count > 0; --count) EXPECT_TRUE(client.receive(&call));
        };
        receiveCalls(1);
        const size_t fitting = callsInWindow(call);
        const size_t cost = CallWindow::costOf(call.header);
        receiveCalls(fitting - 1);
        full.set_value(fitting);
        // A call that waits for its reply is not held up by them.
        EXPECT_TRUE(client.receive(&call));
        Parcel fine;
        fine.writeInt32(0);
        client.reply(call.header.callId, fine);
        Frame served;
        served.header.kind = FrameKind::kServed;
        served.header.givenBack = kCallsServed * cost;
        client.send(served);
        receiveCalls(kCallsServed);
        served.header.givenBack = 2 * CallWindow::kSize;
        client.send(served);
        EXPECT_TRUE(client.isDropped());
    });
    const sp<IEcho> echo = IEcho::getService("full");
    ASSERT_NE(echo, nullptr);
    std::atomic<size_t> sent{0};
    std::thread sender([&] {
        while (echo->collect(0).isOk()) ++sent;
    });
    const size_t fitting = full.get_future().get();
    EXPECT_TRUE(echo->keep(nullptr).isOk());
    sender.join();
    EXPECT_EQ(sent, fitting + kCallsServed);
}

TEST(StallingServiceTest, UnansweredLookUpsTimeOutAndDelayNobodyElse) {
    RuntimeDirectory::ofProgram();
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
    // First the connection is not accepted, because the backlog is full; then it is accepted, but
    // not answered.
    const FakeService deaf(
        "deaf", [=](int /*listener*/) { isOver.wait(); }, 0);
    const unique_fd first = connectedToService("deaf");
    expectToEnd("deaf");
    const FakeService mute("mute", [=](int listener) {
        Peer client = acceptFrom(listener);
        Frame question;
        EXPECT_TRUE(client.receive(&question));
        isOver.wait();
        // A late reply, which must not count as the answer to the next question.
        Parcel service;
        service.writeUint32(kObjectItem);
        client.reply(question.header.callId, service, {{5, ObjectOwner::kSender}});
        EXPECT_TRUE(client.receive(&question));
        client.reply(question.header.callId, service, {{6, ObjectOwner::kSender}});
    });
    expectToEnd("mute");
    end.set_value();
    EXPECT_NE(IEcho::getService("mute"), nullptr);
}

}  // namespace
}  // namespace moriak_test
