// Peers that break the protocol, as client and as server: they are dropped, with one log
// line each, and leave nothing behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <hidl/HidlBinderSupport.h>
#include <moriak/test/calls/1.0/hwtypes.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <random>
#include <thread>

#include "platform/echo_service.h"
#include "support/captured_log.h"
#include "transport/Frame.h"
#include "transport/Registry.h"

namespace moriak_test {
namespace {

using namespace android::hardware::details;
using android::hardware::Parcel;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::StartsWith;
using TestSupport::CapturedLog;
using TestSupport::LogLine;

constexpr uint32_t kReverse = 1;
constexpr uint32_t kHang = 8;
constexpr uint32_t kDebug = 256131655;
constexpr uint32_t kObjectItem = 0x4f424a45;
constexpr uint32_t kHandleItem = 0x48414e44;

unique_fd unixSocket() {
    return unique_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

/** Binds or connects. */
template <typename Call>
int withAddress(Call call, int socket, const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return call(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
}

size_t openDescriptors() {
    return TestSupport::resourcesOf(getpid()).descriptors;
}

/** A bare socket that speaks the protocol as far as the test wants. */
class Peer {
  public:
    explicit Peer(unique_fd socket) : socket_(std::move(socket)) {}

    /** Connects to the service's process and asks it for the service. */
    explicit Peer(const std::string& instance) : socket_(unixSocket()) {
        const std::optional<Registry> registry = Registry::open(Registry::Mode::kLookUp);
        const std::string path = registry->shortPath(*registry->find(IEcho::descriptor, instance));
        EXPECT_EQ(withAddress(connect, socket_.get(), path), 0);
        EXPECT_TRUE(isServed(instance));
    }

    /** Whether the process answers the question for the service. */
    bool isServed(const std::string& instance) {
        Parcel question;
        question.writeInterfaceToken("ServiceTable");
        question.writeCString((std::string(IEcho::descriptor) + "/" + instance).c_str());
        send(call(0, 1, 1), question.items());
        Frame answer;
        if (!receive(&answer) || answer.objects.size() != 1) return false;
        service_ = answer.objects[0].objectId;
        return true;
    }

    static FrameHeader call(uint64_t objectId, uint32_t code, uint64_t callId) {
        FrameHeader header;
        header.objectId = objectId;
        header.code = code;
        header.callId = callId;
        return header;
    }
    void send(FrameHeader header, const std::vector<uint8_t>& items = {},
              const std::vector<ObjectReference>& objects = {}) {
        header.itemBytes = static_cast<uint32_t>(items.size());
        header.objectCount = static_cast<uint32_t>(objects.size());
        sendFrame(socket_.get(), header, items, objects, {});
    }
    /** A call of IEcho. */
    void callService(uint32_t code, const Parcel& arguments, uint64_t callId = 2) {
        send(call(service_, code, callId), arguments.items());
    }
    /** A header alone, after which nothing more comes. */
    void sendLast(const FrameHeader& header, size_t size = sizeof(FrameHeader),
                  const std::vector<int>& descriptors = {}) {
        if (size == sizeof(header)) {
            sendFrame(socket_.get(), header, {}, {}, descriptors);
        } else {
            EXPECT_EQ(::send(socket_.get(), &header, size, 0), static_cast<ssize_t>(size));
        }
        shutdown(socket_.get(), SHUT_WR);
    }

    bool receive(Frame* frame) {
        const char* problem = nullptr;
        return receiveFrame(socket_.get(), frame, &problem);
    }
    /** Whether the other side hangs up in time, whatever it sends before. */
    bool isDropped() {
        constexpr int kBoundMs = 30'000;
        char bytes[4096];
        pollfd waiting{socket_.get(), POLLIN, 0};
        while (poll(&waiting, 1, kBoundMs) > 0) {
            if (recv(socket_.get(), bytes, sizeof(bytes), 0) <= 0) return true;
        }
        return false;
    }
    uint64_t service() const { return service_; }

  private:
    unique_fd socket_;
    uint64_t service_ = 0;
};

/** Arguments of a call of IEcho, or the results of one, that go wrong somewhere. */
struct BrokenParcel {
    const char* name;
    uint32_t code;
    std::function<void(Parcel&)> write;
};

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

/** One record, as the only one that was claimed or as something else. */
void writeRecord(Parcel& parcel, uint32_t claimed, size_t parent, size_t offset) {
    const RawVec record[4] = {};
    const size_t root = writeRoot(parcel, claimed);
    size_t child = 0;
    parcel.writeEmbeddedBuffer(record, sizeof(Record), &child, root + parent, offset);
}

void writeRecordWithEndlessName(Parcel& parcel) {
    const RawVec record[4] = {{0, 3, 0}, {}, {}, {}};
    size_t handle = writeRoot(parcel, 1);
    parcel.writeEmbeddedBuffer(record, sizeof(Record), &handle, handle, 0);
    parcel.writeEmbeddedBuffer("abcd", 4, &handle, handle, 0);
}

void writeHandle(Parcel& parcel, uint32_t descriptors, uint32_t integers) {
    parcel.writeUint32(kHandleItem);
    parcel.writeUint32(descriptors);
    parcel.writeUint32(integers);
}

const BrokenParcel kBrokenParcels[] = {
    {"Nothing", kReverse, [](Parcel&) {}},
    {"NoRootBuffer", kReverse, [](Parcel& parcel) { parcel.writeInt32(7); }},
    {"NoElements", kReverse, [](Parcel& parcel) { writeRoot(parcel, 1); }},
    {"AbsurdCount", kReverse, [](Parcel& parcel) { writeRecord(parcel, 0xffffffff, 0, 0); }},
    {"MoreElementsThanSent", kReverse, [](Parcel& parcel) { writeRecord(parcel, 2, 0, 0); }},
    {"UnknownParent", kReverse, [](Parcel& parcel) { writeRecord(parcel, 1, 9, 0); }},
    {"OffsetOutside", kReverse, [](Parcel& parcel) { writeRecord(parcel, 1, 0, 0x7ffffff8); }},
    {"OffsetElsewhere", kReverse, [](Parcel& parcel) { writeRecord(parcel, 1, 0, 8); }},
    {"StringWithoutEnd", kReverse, writeRecordWithEndlessName},
    {"HandleOfAbsurdCounts", kDebug, [](Parcel& parcel) { writeHandle(parcel, ~0u, ~0u); }},
    {"HandleWithoutDescriptor", kDebug, [](Parcel& parcel) { writeHandle(parcel, 1, 0); }},
};

struct Attack {
    std::string name;
    std::function<void(Peer&)> run;
};

/** A header alone, with one field set. */
template <typename T>
Attack headerWith(const char* name, T FrameHeader::*field, T value) {
    return {name, [=](Peer& peer) {
                FrameHeader header;
                header.*field = value;
                peer.sendLast(header);
            }};
}

Attack releaseOf(const char* name, uint64_t references, bool isRoot) {
    return {name, [=](Peer& peer) {
                FrameHeader header = Peer::call(isRoot ? 0 : peer.service(), 0, 0);
                header.kind = FrameKind::kRelease;
                header.references = references;
                peer.send(header);
            }};
}

Attack callWith(const char* name, ObjectReference object) {
    return {name,
            [=](Peer& peer) { peer.send(Peer::call(peer.service(), kReverse, 2), {}, {object}); }};
}

std::vector<Attack> attacks() {
    std::vector<Attack> all{
        headerWith("Noise", &FrameHeader::magic, 0x5a5a5a5au),
        {"HalfAHeader", [](Peer& peer) { peer.sendLast({}, sizeof(FrameHeader) / 2); }},
        headerWith("MissingBody", &FrameHeader::itemBytes, 1000u),
        headerWith("TooManyBytes", &FrameHeader::itemBytes, uint32_t(kMaxItemBytes + 1)),
        headerWith("TooManyObjects", &FrameHeader::objectCount, uint32_t(kMaxObjects + 1)),
        headerWith("TooManyDescriptors", &FrameHeader::descriptorCount,
                   uint32_t(kMaxDescriptors + 1)),
        headerWith("MissingDescriptor", &FrameHeader::descriptorCount, 1u),
        {"UnannouncedDescriptor",
         [](Peer& peer) { peer.sendLast({}, sizeof(FrameHeader), {STDIN_FILENO}); }},
        headerWith("UnknownKind", &FrameHeader::kind, FrameKind(9)),
        headerWith("ReplyToNoCall", &FrameHeader::kind, FrameKind::kReply),
        {"UnknownTarget", [](Peer& peer) { peer.send(Peer::call(12345, 1, 2)); }},
        {"CallWithoutNumber", [](Peer& peer) { peer.send(Peer::call(peer.service(), 1, 0)); }},
        releaseOf("ReleaseOfTooMuch", 2, false),
        releaseOf("ReleaseOfTheRoot", 1, true),
        callWith("UnknownObject", {999, ObjectOwner::kReceiver}),
        callWith("ObjectOfNobody", {1, ObjectOwner(7)}),
    };
    for (const BrokenParcel& broken : kBrokenParcels) {
        all.push_back({broken.name, [&broken](Peer& peer) {
                           Parcel arguments;
                           const bool isDebug = broken.code == kDebug;
                           arguments.writeInterfaceToken(
                               isDebug ? android::hidl::base::V1_0::IBase::descriptor
                                       : IEcho::descriptor);
                           broken.write(arguments);
                           peer.callService(broken.code, arguments);
                       }});
    }
    return all;
}

// Test programs are asked for the names of their tests, which must not hold addresses.
void PrintTo(const Attack& attack, std::ostream* stream) {
    *stream << attack.name;
}
void PrintTo(const BrokenParcel& parcel, std::ostream* stream) {
    *stream << parcel.name;
}

const auto kOneDrop = ElementsAre(Field(&LogLine::message, StartsWith("dropped process ")));

/** The service is of this process, so that whatever an attack leaves behind is found. */
class HostileClientTest : public testing::TestWithParam<Attack> {
  protected:
    HostileClientTest() { EXPECT_EQ(service_->registerAsService("attacked"), android::OK); }

    RuntimeDirectory directory_;
    sp<EchoService> service_ = new EchoService;
    CapturedLog log_;
};

TEST_P(HostileClientTest, IsDroppedAndLeavesNothingBehind) {
    const size_t before = openDescriptors();
    {
        Peer bystander("attacked");
        Peer peer("attacked");
        GetParam().run(peer);
        EXPECT_TRUE(peer.isDropped());
        EXPECT_TRUE(bystander.isServed("attacked"));
    }
    EXPECT_TRUE(becomesTrue([&] { return openDescriptors() <= before; }));
    EXPECT_THAT(log_.take(), kOneDrop);
}

INSTANTIATE_TEST_SUITE_P(Attacks, HostileClientTest, testing::ValuesIn(attacks()),
                         [](const auto& test) { return test.param.name; });

using RandomClientTest = HostileClientTest;
INSTANTIATE_TEST_SUITE_P(Once, RandomClientTest, testing::Values(Attack{"Random", {}}));

TEST_P(RandomClientTest, NoDamageToACallIsFatal) {
    const size_t before = openDescriptors();
    Record record;
    record.name = "name";
    record.numbers = {1, 2, 3};
    const hidl_vec<Record> records = {record, record};
    Parcel whole;
    size_t root = 0;
    size_t elements = 0;
    whole.writeInterfaceToken(IEcho::descriptor);
    whole.writeBuffer(&records, sizeof(records), &root);
    writeEmbeddedToParcel(records, &whole, root, 0, &elements);
    for (size_t i = 0; i < records.size(); ++i) {
        writeEmbeddedToParcel(records[i], &whole, elements, i * sizeof(Record));
    }
    std::mt19937 random(1);
    for (int round = 0; round < 500; ++round) {
        Peer peer("attacked");
        std::vector<uint8_t> items = whole.items();
        // From none to a few bytes, behind the name of the interface.
        for (size_t damages = random() % 4; damages > 0; --damages) {
            items[40 + random() % (items.size() - 40)] = static_cast<uint8_t>(random());
        }
        if (random() % 8 == 0) items.resize(random() % items.size());
        peer.send(Peer::call(peer.service(), kReverse, 2), items);
        Frame answer;
        peer.receive(&answer);
    }
    EXPECT_TRUE(becomesTrue([&] { return openDescriptors() <= before; }));
}

TEST(GreedyClientTest, IsDroppedWhenItMakesMoreCallsThanCanBeServed) {
    const RuntimeDirectory directory;
    const ServiceProcess service("greedy");
    Peer peer("greedy");
    Parcel data;
    data.writeInterfaceToken(IEcho::descriptor);
    for (uint64_t callId = 2; callId < 200; ++callId) peer.callService(kHang, data, callId);
    EXPECT_TRUE(peer.isDropped());
    EXPECT_TRUE(IEcho::getService("greedy")->ping().isOk());
}

/** A server in this process that answers one call of its service with a reply of the test's. */
class FakeService {
  public:
    explicit FakeService(std::function<void(Peer&, FrameHeader)> answer)
        : registry_(*Registry::open(Registry::Mode::kCreate)), listener_(unixSocket()) {
        // Named like a socket of this process, which it is, but not the runtime's.
        EXPECT_EQ(withAddress(bind, listener_.get(), registry_.shortPath(name_)), 0);
        EXPECT_EQ(listen(listener_.get(), 1), 0);
        EXPECT_EQ(registry_.publish(IEcho::descriptor, "fake", name_), 0);
        thread_ = std::thread([this, answer = std::move(answer)] { serve(answer); });
    }
    ~FakeService() {
        thread_.join();
        registry_.removeSocket(name_);
    }

  private:
    void serve(const std::function<void(Peer&, FrameHeader)>& answer) {
        Peer client(unique_fd(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)));
        FrameHeader reply;
        reply.kind = FrameKind::kReply;
        Frame call;
        EXPECT_TRUE(client.receive(&call));
        reply.callId = call.header.callId;
        Parcel service;
        service.writeUint32(kObjectItem);
        client.send(reply, service.items(), {{5, ObjectOwner::kSender}});
        EXPECT_TRUE(client.receive(&call));
        reply.callId = call.header.callId;
        answer(client, reply);
    }

    const std::string name_ = Registry::newSocketName();
    Registry registry_;
    unique_fd listener_;
    std::thread thread_;
};

class BrokenResultsTest : public testing::TestWithParam<BrokenParcel> {};

TEST_P(BrokenResultsTest, FailTheCallAndDropTheService) {
    const RuntimeDirectory directory;
    CapturedLog log;
    {
        const FakeService fake([](Peer& client, FrameHeader reply) {
            Parcel results;
            results.writeInt32(0);
            GetParam().write(results);
            client.send(reply, results.items());
            EXPECT_TRUE(client.isDropped());
        });
        const sp<IEcho> echo = IEcho::getService("fake");
        ASSERT_NE(echo, nullptr);
        EXPECT_FALSE(echo->reverse({}, [](const auto&) { ADD_FAILURE(); }).isOk());
        EXPECT_FALSE(echo->ping().isOk());
    }
    EXPECT_THAT(log.take(), kOneDrop);
}

INSTANTIATE_TEST_SUITE_P(Parcels, BrokenResultsTest,
                         testing::ValuesIn(std::begin(kBrokenParcels),
                                           std::end(kBrokenParcels) - 2),
                         [](const auto& test) { return test.param.name; });

TEST(FakeServiceTest, AnObjectOfTheWrongTypeIsNoObject) {
    const RuntimeDirectory directory;
    const FakeService fake([](Peer& client, FrameHeader reply) {
        // Hands the client's own root object back where a listener is expected.
        Parcel results;
        results.writeInt32(0);
        results.writeUint32(kObjectItem);
        client.send(reply, results.items(), {{0, ObjectOwner::kReceiver}});
    });
    const sp<IEcho> echo = IEcho::getService("fake");
    ASSERT_NE(echo, nullptr);
    const Return<sp<IListener>> kept = echo->getKept();
    ASSERT_TRUE(kept.isOk());
    EXPECT_EQ(sp<IListener>(kept), nullptr);
    EXPECT_TRUE(becomesTrue([&] { return !echo->ping().isOk(); }));
}

TEST(StrangerTest, IsRefused) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    const RuntimeDirectory directory;
    const sp<IEcho> service = new EchoService;
    ASSERT_EQ(service->registerAsService("closed"), android::OK);
    const std::optional<Registry> registry = Registry::open(Registry::Mode::kLookUp);
    const std::string path = directory.path() + "/" + *registry->find(IEcho::descriptor, "closed");
    // Lets the stranger as far as the socket, where the process itself has to refuse it.
    chmod(directory.path().c_str(), 0777);
    chmod(path.c_str(), 0777);
    CapturedLog log;
    const unique_fd socket = unixSocket();
    const pid_t stranger = fork();
    if (stranger == 0) {
        char byte;
        _exit(setuid(65534) == 0 && withAddress(connect, socket.get(), path) == 0 &&
                      recv(socket.get(), &byte, 1, 0) == 0
                  ? 0
                  : 1);
    }
    int status = -1;
    waitpid(stranger, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_THAT(log.take(), ElementsAre(Field(&LogLine::message, HasSubstr("of user 65534"))));
}

}  // namespace
}  // namespace moriak_test
