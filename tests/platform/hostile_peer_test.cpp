// Peers that break the protocol, as client and as server: they are dropped, with one log
// line each, and leave nothing behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <hidl/HidlBinderSupport.h>
#include <moriak/test/calls/1.0/hwtypes.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "platform/echo_service.h"
#include "platform/peer.h"
#include "support/captured_log.h"

namespace moriak_test {
namespace {

using namespace android::hardware::details;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::StartsWith;
using TestSupport::CapturedLog;
using TestSupport::LogLine;

size_t openDescriptors() {
    return TestSupport::resourcesOf(getpid()).descriptors;
}

/** What a hidl_vec, hidl_string or hidl_handle is on the wire: a pointer, then a size. */
struct RawVec {
    uint64_t pointer;
    uint32_t size;
    uint32_t ownsBuffer;
};

size_t writeRoot(Parcel& parcel, uint32_t size) {
    const RawVec root{0x4141414141414141, size, 1};
    size_t handle = 0;
    parcel.writeBuffer(&root, sizeof(root), &handle);
    return handle;
}

/** One whole record, as the only one that was claimed or as something else. */
void writeRecord(Parcel& parcel, uint32_t claimed, size_t parent, size_t offset) {
    const Record record;
    const size_t root = writeRoot(parcel, claimed);
    size_t child = 0;
    parcel.writeEmbeddedBuffer(&record, sizeof(record), &child, root + parent, offset);
    writeEmbeddedToParcel(record, &parcel, child, 0);
}

/** Arguments of IEcho::reverse, or its results, that go wrong somewhere. */
struct BrokenParcel {
    const char* name;
    void (*write)(Parcel&);
};

const BrokenParcel kBrokenParcels[] = {
    {"nothing", [](Parcel&) {}},
    {"no root buffer", [](Parcel& parcel) { parcel.writeInt32(7); }},
    {"no elements", [](Parcel& parcel) { writeRoot(parcel, 1); }},
    {"absurd count", [](Parcel& parcel) { writeRecord(parcel, 0xffffffff, 0, 0); }},
    {"more elements than sent", [](Parcel& parcel) { writeRecord(parcel, 2, 0, 0); }},
    {"unknown parent", [](Parcel& parcel) { writeRecord(parcel, 1, 9, 0); }},
    {"offset outside", [](Parcel& parcel) { writeRecord(parcel, 1, 0, 0x7ffffff8); }},
    {"offset elsewhere", [](Parcel& parcel) { writeRecord(parcel, 1, 0, 8); }},
    {"string without end",
     [](Parcel& parcel) {
         const RawVec record[4] = {{0, 3, 0}, {}, {}, {}};
         const size_t root = writeRoot(parcel, 1);
         size_t elements = 0;
         size_t child = 0;
         parcel.writeEmbeddedBuffer(record, sizeof(Record), &elements, root, 0);
         parcel.writeEmbeddedBuffer("abcd", 4, &child, elements, 0);
         parcel.writeEmbeddedBuffer(nullptr, 0, &child, elements, offsetof(Record, numbers));
         parcel.writeEmbeddedNativeHandle(nullptr, elements, offsetof(Record, file));
     }},
};

/** Makes the call one of IBase::debug, whole but for a handle that claims to be so large. */
void sendHandle(Frame& call, uint32_t descriptors, uint32_t integers) {
    Parcel arguments = argumentsFor(android::hidl::base::V1_0::IBase::descriptor);
    for (const uint32_t word : {kHandleItem, descriptors, integers}) arguments.writeUint32(word);
    const hidl_vec<hidl_string> options{"text"};
    size_t root = 0;
    size_t elements = 0;
    arguments.writeBuffer(&options, sizeof(options), &root);
    android::hardware::writeEmbeddedToParcel(options, &arguments, root, 0, &elements);
    writeEmbeddedToParcel(options[0], &arguments, elements, 0);
    call = callOf(call.header.objectId, kDebug, arguments);
}

void sendRelease(FrameHeader& header, uint64_t references) {
    header.kind = FrameKind::kRelease;
    header.givenBack = references;
}

/** One fault in an otherwise valid call of the service. */
struct BrokenCall {
    const char* name;
    void (*spoil)(Frame&);
};

const BrokenCall kBrokenCalls[] = {
    {"noise", [](Frame& call) { call.header.magic = 0x5a5a5a5a; }},
    {"too many bytes", [](Frame& call) { call.header.itemBytes = kMaxItemBytes + 1; }},
    {"too many objects", [](Frame& call) { call.header.objectCount = kMaxObjects + 1; }},
    {"too many descriptors", [](Frame& call) { call.header.descriptorCount = 254; }},
    {"missing descriptor", [](Frame& call) { call.header.descriptorCount = 1; }},
    {"unannounced descriptor", [](Frame& call) { call.descriptors.emplace_back(dup(0)); }},
    {"unknown kind", [](Frame& call) { call.header.kind = FrameKind(9); }},
    {"reply to no call", [](Frame& call) { call.header.kind = FrameKind::kReply; }},
    {"unknown target", [](Frame& call) { call.header.objectId = 12345; }},
    {"call without number", [](Frame& call) { call.header.callId = 0; }},
    {"release of too much", [](Frame& call) { sendRelease(call.header, 9); }},
    {"release of nothing", [](Frame& call) { sendRelease(call.header, 0); }},
    {"release of the root", [](Frame& call) { sendRelease(call.header = {}, 1); }},
    {"unknown object",
     [](Frame& call) {
         addObject(call, {999, ObjectOwner::kReceiver});
     }},
    {"root as an object of the client's",
     [](Frame& call) {
         addObject(call, {0, ObjectOwner::kSender});
     }},
    {"object of nobody",
     [](Frame& call) {
         addObject(call, {1, ObjectOwner(7)});
     }},
    {"handle of absurd counts", [](Frame& call) { sendHandle(call, ~0u, ~0u); }},
    {"handle without descriptor", [](Frame& call) { sendHandle(call, 1, 0); }},
    {"handle of too many descriptors",
     [](Frame& call) {
         sendHandle(call, 5, 0);
         while (call.descriptors.size() < 5) call.descriptors.emplace_back(dup(0));
         call.header.descriptorCount = 5;
     }},
};

const auto kOneDrop = ElementsAre(Field(&LogLine::message, StartsWith("dropped process ")));

/** The service runs in this process, so that the test finds whatever an attack leaves behind. */
class HostileClientTest : public testing::Test {
  protected:
    HostileClientTest() {
        EXPECT_EQ(service_->registerAsService("attacked"), android::OK);
        descriptorsBefore_ = openDescriptors();
    }

    const RuntimeDirectory& directory_ = RuntimeDirectory::ofProgram();
    const sp<EchoService> service_ = new EchoService;
    CapturedLog log_;
    size_t descriptorsBefore_ = 0;
};

TEST_F(HostileClientTest, IsDroppedAndLeavesNothingBehind) {
    const auto attack = [this](const char* name, const std::function<void(Peer&)>& run) {
        SCOPED_TRACE(name);
        {
            Peer bystander("attacked");
            Peer peer("attacked");
            run(peer);
            EXPECT_TRUE(peer.isDropped());
            EXPECT_TRUE(bystander.isServed("attacked"));
        }
        EXPECT_TRUE(becomesTrue([&] { return openDescriptors() <= descriptorsBefore_; }));
        EXPECT_THAT(log_.take(), kOneDrop);
    };
    attack("half a header", [](Peer& peer) { peer.finish(4); });
    attack("half a call", [](Peer& peer) {
        Frame call = callOf(peer.service(), kReverse, argumentsFor(IEcho::descriptor));
        call.header.itemBytes += 1000;
        peer.send(call);
        peer.finish(4);
    });
    for (const BrokenCall& broken : kBrokenCalls) {
        attack(broken.name, [&](Peer& peer) {
            Frame call = callOf(peer.service(), kReverse, argumentsOfReverse({}));
            broken.spoil(call);
            peer.send(call);
        });
    }
    for (const BrokenParcel& broken : kBrokenParcels) {
        attack(broken.name, [&](Peer& peer) {
            Parcel arguments = argumentsFor(IEcho::descriptor);
            broken.write(arguments);
            peer.send(callOf(peer.service(), kReverse, arguments));
        });
    }
}

TEST_F(HostileClientTest, GetsReleasesEvenIfNoOtherMessageIsSent) {
    Peer peer("attacked");
    for (uint64_t objectId = 7; objectId < 10; ++objectId) {
        Parcel arguments = argumentsFor(IEcho::descriptor);
        arguments.writeUint32(kObjectItem);
        Frame call = callOf(peer.service(), kKeep, arguments, objectId);
        addObject(call, {objectId, ObjectOwner::kSender});
        peer.send(call);
        Frame answer;
        ASSERT_TRUE(peer.receive(&answer));
        service_->keep(nullptr);
        ASSERT_TRUE(peer.receive(&answer));
        EXPECT_EQ(answer.header.kind, FrameKind::kRelease);
        EXPECT_EQ(answer.header.objectId, objectId);
    }
}

TEST_F(HostileClientTest, GetsNoServiceForAMalformedQuestion) {
    Peer peer("attacked");
    Parcel question = argumentsFor("Other");
    question.writeCString((std::string(IEcho::descriptor) + "/attacked").c_str());
    for (const uint32_t code : {1U, 2U}) {
        peer.send(callOf(0, code, question));
        Frame answer;
        ASSERT_TRUE(peer.receive(&answer));
        EXPECT_NE(answer.header.status, android::OK);
        EXPECT_TRUE(answer.objects.empty());
    }
}

TEST(GreedyClientTest, IsDroppedWhenItMakesMoreCallsThanCanBeServed) {
    RuntimeDirectory::ofProgram();
    const ServiceProcess service("greedy");
    Peer peer("greedy");
    for (uint64_t callId = 2; callId < 200; ++callId) {
        peer.send(callOf(peer.service(), kHang, argumentsFor(IEcho::descriptor), callId));
    }
    EXPECT_TRUE(peer.isDropped());
    EXPECT_TRUE(IEcho::getService("greedy")->ping().isOk());
}

/** Hands out a service, and answers one call of it with what the test wants. */
std::function<void(int listener)> answering(std::function<void(Peer&, uint64_t callId)> answer) {
    return [answer = std::move(answer)](int listener) {
        Peer client = acceptFrom(listener);
        Frame call;
        EXPECT_TRUE(client.receive(&call));
        Parcel service;
        service.writeUint32(kObjectItem);
        client.reply(call.header.callId, service, {{5, ObjectOwner::kSender}});
        EXPECT_TRUE(client.receive(&call));
        answer(client, call.header.callId);
    };
}

TEST(FakeServiceTest, BrokenResultsFailTheCallAndDropTheService) {
    RuntimeDirectory::ofProgram();
    CapturedLog log;
    for (const BrokenParcel& broken : kBrokenParcels) {
        SCOPED_TRACE(broken.name);
        {
            const FakeService fake("fake", answering([&](Peer& client, uint64_t callId) {
                                       Parcel results;
                                       results.writeInt32(0);
                                       broken.write(results);
                                       client.reply(callId, results);
                                       EXPECT_TRUE(client.isDropped());
                                   }));
            const sp<IEcho> echo = IEcho::getService("fake");
            ASSERT_NE(echo, nullptr);
            EXPECT_FALSE(echo->reverse({}, [](const auto&) { ADD_FAILURE(); }).isOk());
            EXPECT_FALSE(echo->ping().isOk());
        }
        EXPECT_THAT(log.take(), kOneDrop);
    }
}

TEST(FakeServiceTest, ExceptionTextsCannotForgeLogLines) {
    RuntimeDirectory::ofProgram();
    const FakeService fake(
        "fake", answering([](Peer& client, uint64_t callId) {
            Parcel results;
            results.writeInt32(-3);
            results.writeCString(("a\nE/Other: b\x1b[2J" + std::string(5000, 'x')).c_str());
            client.reply(callId, results);
        }));
    const sp<IEcho> echo = IEcho::getService("fake");
    ASSERT_NE(echo, nullptr);
    const Return<void> kept = echo->keep(nullptr);
    EXPECT_FALSE(kept.isOk());
    EXPECT_THAT(kept.description(), HasSubstr("a?E/Other: b?[2J"));
    EXPECT_LT(kept.description().size(), 300U);
}

TEST(FakeServiceTest, AnObjectOfTheWrongTypeBecomesNull) {
    RuntimeDirectory::ofProgram();
    const FakeService fake("fake", answering([](Peer& client, uint64_t callId) {
                               // Hands the client's own root object back where a listener is
                               // expected.
                               Parcel results;
                               results.writeInt32(0);
                               results.writeUint32(kObjectItem);
                               client.reply(callId, results, {{0, ObjectOwner::kReceiver}});
                           }));
    const sp<IEcho> echo = IEcho::getService("fake");
    ASSERT_NE(echo, nullptr);
    const Return<sp<IListener>> kept = echo->getKept();
    ASSERT_TRUE(kept.isOk());
    EXPECT_EQ(sp<IListener>(kept), nullptr);
    EXPECT_TRUE(becomesTrue([&] { return !echo->ping().isOk(); }));
}

TEST(StrangerTest, IsRefused) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    const RuntimeDirectory& directory = RuntimeDirectory::ofProgram();
    const sp<IEcho> service = new EchoService;
    ASSERT_EQ(service->registerAsService("closed"), android::OK);
    const std::optional<Registry> registry = Registry::open(Registry::Mode::kLookUp);
    const std::string path = directory.path() + "/" + *registry->find(IEcho::descriptor, "closed");
    // Lets the stranger as far as the socket, where the process itself has to refuse it.
    chmod(directory.path().c_str(), 0777);
    chmod(path.c_str(), 0777);
    CapturedLog log;
    const pid_t stranger = fork();
    if (stranger == 0) {
        _exit(setuid(65534) == 0 && Peer(connectedTo(path)).isDropped() ? 0 : 1);
    }
    int status = -1;
    waitpid(stranger, &status, 0);
    EXPECT_EQ(status, 0);
    chmod(directory.path().c_str(), 0700);  // it is that of the tests that follow, too
    EXPECT_THAT(log.take(), ElementsAre(Field(&LogLine::message, HasSubstr("of user 65534"))));
}

}  // namespace
}  // namespace moriak_test
