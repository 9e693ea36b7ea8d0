// Peers that break the protocol, as client and as server: they are dropped, with one log
// line each, and leave nothing behind.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <hidl/HidlBinderSupport.h>
#include <moriak/test/calls/1.0/hwtypes.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <random>
#include <thread>

#include "platform/echo_service.h"
#include "support/captured_log.h"
#include "transport/Frame.h"
#include "transport/Registry.h"

namespace moriak_test {
namespace {

using android::base::unique_fd;
using android::hardware::IBinder;
using android::hardware::Parcel;
using android::hardware::details::Frame;
using android::hardware::details::FrameHeader;
using android::hardware::details::FrameKind;
using android::hardware::details::kMaxDescriptors;
using android::hardware::details::kMaxItemBytes;
using android::hardware::details::kMaxObjects;
using android::hardware::details::ObjectOwner;
using android::hardware::details::ObjectReference;
using android::hardware::details::receiveFrame;
using android::hardware::details::Registry;
using android::hardware::details::sendFrame;

constexpr uint32_t kReverse = 1;
constexpr uint32_t kReadFile = 2;
constexpr uint32_t kHang = 11;

unique_fd unixSocket() {
    return unique_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

sockaddr_un addressOf(const Registry& registry, const std::string& name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = registry.shortPath(name);
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

size_t countOfWord(const std::string& text, const std::string& word) {
    size_t count = 0;
    for (size_t at = text.find(word); at != text.npos; at = text.find(word, at + 1)) ++count;
    return count;
}

/** A bare socket that speaks the protocol as far as the test wants. */
class Peer {
  public:
    explicit Peer(unique_fd socket) : socket_(std::move(socket)) {}

    /** Connects to the service's process and asks it for the service. */
    static Peer clientOf(const std::string& instance) {
        const std::optional<Registry> registry = Registry::open(Registry::Mode::kLookUp);
        const sockaddr_un address =
            addressOf(*registry, *registry->find(IEcho::descriptor, instance));
        unique_fd socket = unixSocket();
        EXPECT_EQ(
            connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        Peer peer(std::move(socket));
        Parcel question;
        question.writeInterfaceToken("ServiceTable");
        question.writeCString((std::string(IEcho::descriptor) + "/" + instance).c_str());
        FrameHeader header = call(0, 1, 1);
        peer.send(header, question.items());
        Frame answer;
        const char* problem = nullptr;
        EXPECT_TRUE(receiveFrame(peer.socket_.get(), &answer, &problem));
        peer.service_ = answer.objects.at(0).objectId;
        return peer;
    }

    static FrameHeader call(uint64_t objectId, uint32_t code, uint64_t callId) {
        FrameHeader header;
        header.kind = FrameKind::kTransaction;
        header.objectId = objectId;
        header.code = code;
        header.callId = callId;
        return header;
    }

    void send(FrameHeader header, const std::vector<uint8_t>& items = {},
              const std::vector<ObjectReference>& objects = {},
              const std::vector<int>& descriptors = {}) {
        header.itemBytes = static_cast<uint32_t>(items.size());
        header.objectCount = static_cast<uint32_t>(objects.size());
        header.descriptorCount = static_cast<uint32_t>(descriptors.size());
        sendFrame(socket_.get(), header, items, objects, descriptors);
    }

    void sendUnannounced(const FrameHeader& header, int descriptor) {
        sendFrame(socket_.get(), header, {}, {}, {descriptor});
    }
    void sendRaw(const void* bytes, size_t size) {
        EXPECT_EQ(::send(socket_.get(), bytes, size, MSG_NOSIGNAL), static_cast<ssize_t>(size));
    }
    /** Says that nothing more will come. */
    void finish() { shutdown(socket_.get(), SHUT_WR); }

    bool receive(Frame* frame) {
        const char* problem = nullptr;
        return receiveFrame(socket_.get(), frame, &problem);
    }

    /** Whether the other side hangs up in time, whatever it sends before. */
    bool isDropped() {
        char bytes[4096];
        pollfd waiting{socket_.get(), POLLIN, 0};
        while (poll(&waiting, 1, static_cast<int>(kLongEnough.count()) * 1000) > 0) {
            if (recv(socket_.get(), bytes, sizeof(bytes), 0) <= 0) return true;
        }
        return false;
    }

    uint64_t service() const { return service_; }

  private:
    unique_fd socket_;
    uint64_t service_ = 0;
};

struct Attack {
    const char* name;
    std::function<void(Peer&)> run;
};

/** Arguments of a call of IEcho, or the results of one, that go wrong somewhere. */
struct BrokenParcel {
    const char* name;
    uint32_t code;
    std::function<void(Parcel&)> write;
};

// Test programs are asked for the names of their tests, which must not hold addresses.
void PrintTo(const Attack& attack, std::ostream* stream) {
    *stream << attack.name;
}
void PrintTo(const BrokenParcel& parcel, std::ostream* stream) {
    *stream << parcel.name;
}

/** A root buffer as a hidl_vec, hidl_string or hidl_handle is: a pointer, then a size. */
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

const Record& emptyRecord() {
    static const Record record;
    return record;
}

void writeRecords(Parcel& parcel, uint32_t claimed, size_t parent, size_t offset) {
    const size_t root = writeRoot(parcel, claimed);
    size_t child = 0;
    parcel.writeEmbeddedBuffer(&emptyRecord(), sizeof(Record), &child, root + parent, offset);
}

const BrokenParcel kBrokenParcels[] = {
    {"Nothing", kReverse, [](Parcel&) {}},
    {"NoRootBuffer", kReverse, [](Parcel& parcel) { parcel.writeInt32(7); }},
    {"NoElements", kReverse, [](Parcel& parcel) { writeRoot(parcel, 1); }},
    {"AbsurdCount", kReverse, [](Parcel& parcel) { writeRecords(parcel, 0xffffffff, 0, 0); }},
    {"MoreElementsThanSent", kReverse, [](Parcel& parcel) { writeRecords(parcel, 2, 0, 0); }},
    {"UnknownParent", kReverse, [](Parcel& parcel) { writeRecords(parcel, 1, 9, 0); }},
    {"ParentOffsetOutside", kReverse,
     [](Parcel& parcel) { writeRecords(parcel, 1, 0, 0x7ffffff8); }},
    {"ParentOffsetElsewhere", kReverse, [](Parcel& parcel) { writeRecords(parcel, 1, 0, 8); }},
    {"StringWithoutEnd", kReverse,
     [](Parcel& parcel) {
         const size_t root = writeRoot(parcel, 1);
         const RawVec record[4] = {{0, 3, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}};
         size_t child = 0;
         size_t text = 0;
         parcel.writeEmbeddedBuffer(record, sizeof(Record), &child, root, 0);
         parcel.writeEmbeddedBuffer("abcd", 4, &text, child, 0);
     }},
    {"HandleWithAbsurdCounts", kReadFile,
     [](Parcel& parcel) {
         parcel.writeUint32(0x48414e44);  // a handle
         parcel.writeUint32(0x7fffffff);
         parcel.writeUint32(0x7fffffff);
     }},
    {"HandleWithoutItsDescriptor", kReadFile,
     [](Parcel& parcel) {
         parcel.writeUint32(0x48414e44);
         parcel.writeUint32(1);
         parcel.writeUint32(0);
     }},
};

/** A header alone, with one field set. */
template <typename T>
void sendHeader(Peer& peer, T FrameHeader::*field, T value) {
    FrameHeader header;
    header.*field = value;
    peer.sendRaw(&header, sizeof(header));
    peer.finish();
}

void sendRelease(Peer& peer, uint64_t objectId, uint64_t references) {
    FrameHeader header;
    header.kind = FrameKind::kRelease;
    header.objectId = objectId;
    header.references = references;
    peer.send(header);
}

void sendCallWith(Peer& peer, ObjectReference object) {
    peer.send(Peer::call(peer.service(), kReverse, 2), {}, {object});
}

const Attack kAttacks[] = {
    {"Noise", [](Peer& peer) { peer.sendRaw(std::string(500, '\x5a').data(), 500); }},
    {"HalfAHeader",
     [](Peer& peer) {
         const FrameHeader header;
         peer.sendRaw(&header, sizeof(header) / 2);
         peer.finish();
     }},
    {"MissingBody", [](Peer& peer) { sendHeader(peer, &FrameHeader::itemBytes, 1000u); }},
    {"TooManyBytes",
     [](Peer& peer) { sendHeader(peer, &FrameHeader::itemBytes, uint32_t(kMaxItemBytes + 1)); }},
    {"TooManyObjects",
     [](Peer& peer) { sendHeader(peer, &FrameHeader::objectCount, uint32_t(kMaxObjects + 1)); }},
    {"TooManyDescriptors",
     [](Peer& peer) {
         sendHeader(peer, &FrameHeader::descriptorCount, uint32_t(kMaxDescriptors + 1));
     }},
    {"MissingDescriptor", [](Peer& peer) { sendHeader(peer, &FrameHeader::descriptorCount, 1u); }},
    {"UnannouncedDescriptor",
     [](Peer& peer) { peer.sendUnannounced(Peer::call(peer.service(), 1, 2), STDIN_FILENO); }},
    {"UnknownKind", [](Peer& peer) { sendHeader(peer, &FrameHeader::kind, FrameKind(9)); }},
    {"ReplyToNoCall", [](Peer& peer) { sendHeader(peer, &FrameHeader::kind, FrameKind::kReply); }},
    {"UnknownTarget", [](Peer& peer) { peer.send(Peer::call(12345, 1, 2)); }},
    {"CallWithoutNumber", [](Peer& peer) { peer.send(Peer::call(peer.service(), 1, 0)); }},
    {"ReleaseOfTooMuch", [](Peer& peer) { sendRelease(peer, peer.service(), 2); }},
    {"ReleaseOfTheRoot", [](Peer& peer) { sendRelease(peer, 0, 1); }},
    {"UnknownObject",
     [](Peer& peer) {
         sendCallWith(peer, {999, ObjectOwner::kReceiver});
     }},
    {"ObjectOfNobody",
     [](Peer& peer) {
         sendCallWith(peer, {1, ObjectOwner(7)});
     }},
};

class HostileClientTest : public testing::TestWithParam<Attack> {};

TEST_P(HostileClientTest, IsDroppedAndLeavesNothingBehind) {
    const RuntimeDirectory directory;
    const ServiceProcess service("attacked");
    const sp<IEcho> echo = IEcho::getService("attacked");
    ASSERT_TRUE(echo->ping().isOk());
    const size_t descriptors = service.resources().descriptors;
    {
        Peer peer = Peer::clientOf("attacked");
        GetParam().run(peer);
        EXPECT_TRUE(peer.isDropped());
    }
    EXPECT_TRUE(becomesTrue([&] { return service.resources().descriptors <= descriptors; }));
    EXPECT_TRUE(echo->ping().isOk()) << "the other clients are served as before";
    EXPECT_EQ(countOfWord(service.log(), "\n"), 1u) << service.log();
    EXPECT_EQ(countOfWord(service.log(), "dropped process"), 1u) << service.log();
}

INSTANTIATE_TEST_SUITE_P(Attacks, HostileClientTest, testing::ValuesIn(kAttacks),
                         [](const auto& test) { return test.param.name; });

class BrokenArgumentsTest : public testing::TestWithParam<BrokenParcel> {};

TEST_P(BrokenArgumentsTest, DropTheClient) {
    const RuntimeDirectory directory;
    const ServiceProcess service("attacked");
    Peer peer = Peer::clientOf("attacked");
    Parcel data;
    data.writeInterfaceToken(IEcho::descriptor);
    GetParam().write(data);
    peer.send(Peer::call(peer.service(), GetParam().code, 2), data.items());
    EXPECT_TRUE(peer.isDropped());
    EXPECT_TRUE(IEcho::getService("attacked")->ping().isOk());
    EXPECT_TRUE(becomesTrue([&] { return countOfWord(service.log(), "dropped process") == 1; }));
}

INSTANTIATE_TEST_SUITE_P(Parcels, BrokenArgumentsTest, testing::ValuesIn(kBrokenParcels),
                         [](const auto& test) { return test.param.name; });

TEST(RandomClientTest, NoDamageToACallIsFatal) {
    const RuntimeDirectory directory;
    const ServiceProcess service("attacked");
    const size_t descriptors = service.resources().descriptors;
    Parcel whole;
    whole.writeInterfaceToken(IEcho::descriptor);
    Record record;
    record.name = "name";
    record.numbers = {1, 2, 3};
    const hidl_vec<Record> records = {record, record};
    size_t root = 0;
    size_t elements = 0;
    whole.writeBuffer(&records, sizeof(records), &root);
    writeEmbeddedToParcel(records, &whole, root, 0, &elements);
    for (size_t i = 0; i < records.size(); ++i) {
        writeEmbeddedToParcel(records[i], &whole, elements, i * sizeof(Record));
    }
    std::mt19937 random(1);
    for (int round = 0; round < 500; ++round) {
        Peer peer = Peer::clientOf("attacked");
        std::vector<uint8_t> items = whole.items();
        // From none to a few bytes, behind the name of the interface.
        for (size_t damages = random() % 4; damages > 0; --damages) {
            const size_t at = 40 + random() % (items.size() - 40);
            items[at] = static_cast<uint8_t>(random());
        }
        if (random() % 8 == 0) items.resize(random() % items.size());
        peer.send(Peer::call(peer.service(), kReverse, 2), items);
        Frame answer;
        peer.receive(&answer);
    }
    EXPECT_TRUE(IEcho::getService("attacked")->ping().isOk());
    EXPECT_TRUE(becomesTrue([&] { return service.resources().descriptors <= descriptors + 1; }));
}

TEST(GreedyClientTest, IsDroppedWhenItMakesMoreCallsThanCanBeServed) {
    const RuntimeDirectory directory;
    const ServiceProcess service("attacked");
    Peer peer = Peer::clientOf("attacked");
    Parcel data;
    data.writeInterfaceToken(IEcho::descriptor);
    for (uint64_t i = 2; i < 200; ++i) {
        peer.send(Peer::call(peer.service(), kHang, i), data.items());
    }
    EXPECT_TRUE(peer.isDropped());
    EXPECT_TRUE(IEcho::getService("attacked")->ping().isOk());
}

/** A server in this process that answers one call of its service with a reply of the test's. */
class FakeService {
  public:
    /** @param isAttack whether the client is expected to hang up after the answer */
    FakeService(bool isAttack, std::function<void(Peer&, FrameHeader)> answer)
        : isAttack_(isAttack),
          registry_(*Registry::open(Registry::Mode::kCreate)),
          listener_(unixSocket()) {
        // Named like a socket of this process, which it is, but not the runtime's.
        name_ = Registry::newSocketName();
        const sockaddr_un address = addressOf(registry_, name_);
        EXPECT_EQ(
            bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        EXPECT_EQ(listen(listener_.get(), 1), 0);
        EXPECT_EQ(registry_.publish(IEcho::descriptor, "fake", name_), 0);
        thread_ = std::thread([this, answer = std::move(answer)] { serve(answer); });
    }
    ~FakeService() {
        thread_.join();
        registry_.removeSocket(name_);
    }

    bool hasHungUp() const { return clientIsGone_; }

  private:
    void serve(const std::function<void(Peer&, FrameHeader)>& answer) {
        Peer client(unique_fd(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)));
        for (int call = 0; call < 2; ++call) {
            Frame frame;
            if (!client.receive(&frame)) return;
            FrameHeader reply;
            reply.kind = FrameKind::kReply;
            reply.callId = frame.header.callId;
            if (call == 0) {
                Parcel service;
                service.writeUint32(0x4f424a45);  // an object
                client.send(reply, service.items(), {{5, ObjectOwner::kSender}});
            } else {
                answer(client, reply);
            }
        }
        if (isAttack_) clientIsGone_ = client.isDropped();
    }

    const bool isAttack_;
    Registry registry_;
    unique_fd listener_;
    std::string name_;
    std::atomic<bool> clientIsGone_{false};
    std::thread thread_;
};

class BrokenResultsTest : public testing::TestWithParam<BrokenParcel> {};

TEST_P(BrokenResultsTest, FailTheCallAndDropTheService) {
    const RuntimeDirectory directory;
    TestSupport::CapturedLog log;
    {
        const FakeService fake(true, [](Peer& client, FrameHeader reply) {
            Parcel results;
            results.writeInt32(0);
            GetParam().write(results);
            client.send(reply, results.items());
        });
        const sp<IEcho> echo = IEcho::getService("fake");
        ASSERT_NE(echo, nullptr);
        EXPECT_FALSE(echo->reverse({}, [](const auto&) { ADD_FAILURE(); }).isOk());
        EXPECT_TRUE(becomesTrue([&] { return fake.hasHungUp(); }));
        EXPECT_FALSE(echo->ping().isOk());
    }
    const auto lines = log.take();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].message.find("dropped process"), 0u) << lines[0].message;
}

INSTANTIATE_TEST_SUITE_P(Parcels, BrokenResultsTest,
                         testing::ValuesIn(std::begin(kBrokenParcels),
                                           std::end(kBrokenParcels) - 2),
                         [](const auto& test) { return test.param.name; });

TEST(FakeServiceTest, AnObjectOfTheWrongTypeIsNoObject) {
    const RuntimeDirectory directory;
    const FakeService fake(false, [](Peer& client, FrameHeader reply) {
        // Hands the client's own root object back where a listener is expected.
        Parcel results;
        results.writeInt32(0);
        results.writeUint32(0x4f424a45);
        client.send(reply, results.items(), {{0, ObjectOwner::kReceiver}});
    });
    const sp<IEcho> echo = IEcho::getService("fake");
    ASSERT_NE(echo, nullptr);
    const Return<sp<IListener>> kept = echo->getKept();
    ASSERT_TRUE(kept.isOk());
    EXPECT_EQ(sp<IListener>(kept), nullptr);
}

TEST(StrangerTest, IsRefused) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    const RuntimeDirectory directory;
    const ServiceProcess service("closed");
    const std::optional<Registry> registry = Registry::open(Registry::Mode::kLookUp);
    const std::string path = directory.path() + "/" + *registry->find(IEcho::descriptor, "closed");
    // Lets the stranger as far as the socket, where the process itself has to refuse it.
    chmod(directory.path().c_str(), 0777);
    chmod(path.c_str(), 0777);
    const pid_t stranger = fork();
    if (stranger == 0) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
        const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (setuid(65534) != 0) _exit(2);
        if (connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
            _exit(3);
        }
        char byte;
        _exit(recv(socket, &byte, 1, 0) == 0 ? 0 : 4);
    }
    int status = -1;
    waitpid(stranger, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(countOfWord(service.log(), "of user 65534"), 1u);
}

}  // namespace
}  // namespace moriak_test
