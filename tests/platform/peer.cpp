#include "platform/peer.h"

#include <gtest/gtest.h>
#include <hidl/HidlBinderSupport.h>
#include <moriak/test/calls/1.0/IEcho.h>
#include <moriak/test/calls/1.0/hwtypes.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>

namespace moriak_test {

using android::hardware::details::FrameWriter;
using android::hardware::details::kFrameMagic;
using moriak::test::calls::V1_0::IEcho;

namespace {

constexpr int kBoundMs = 30'000;

unique_fd unixSocket() {
    return unique_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

/** Binds or connects. */
template <typename Call>
int withAddress(Call call, const unique_fd& socket, const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return call(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address));
}

}  // namespace

Parcel argumentsFor(const char* interface) {
    Parcel parcel;
    parcel.writeInterfaceToken(interface);
    return parcel;
}

Parcel argumentsOfReverse(const android::hardware::hidl_vec<Record>& records) {
    Parcel parcel = argumentsFor(IEcho::descriptor);
    size_t root = 0;
    size_t elements = 0;
    parcel.writeBuffer(&records, sizeof(records), &root);
    android::hardware::writeEmbeddedToParcel(records, &parcel, root, 0, &elements);
    for (size_t i = 0; i < records.size(); ++i) {
        writeEmbeddedToParcel(records[i], &parcel, elements, i * sizeof(Record));
    }
    return parcel;
}

Frame callOf(uint64_t objectId, uint32_t code, const Parcel& arguments, uint64_t callId) {
    Frame frame;
    frame.header.objectId = objectId;
    frame.header.code = code;
    frame.header.callId = callId;
    frame.header.flags = callId == 0 ? android::hardware::IBinder::FLAG_ONEWAY : 0;
    frame.items = arguments.items();
    frame.header.itemBytes = static_cast<uint32_t>(frame.items.size());
    return frame;
}

void addObject(Frame& message, ObjectReference object) {
    message.objects.push_back(object);
    message.header.objectCount = static_cast<uint32_t>(message.objects.size());
}

unique_fd connectedTo(const std::string& path) {
    unique_fd socket = unixSocket();
    return withAddress(connect, socket, path) == 0 ? std::move(socket) : unique_fd();
}

unique_fd connectedToService(const std::string& instance) {
    const std::optional<Registry> registry = Registry::open(Registry::Mode::kLookUp);
    return connectedTo(registry->shortPath(*registry->find(IEcho::descriptor, instance)));
}

// Peer

Peer::Peer(unique_fd socket, const std::string& instance) : Peer(std::move(socket)) {
    EXPECT_TRUE(isServed(instance));
}

bool Peer::isServed(const std::string& instance) {
    Parcel question = argumentsFor("ServiceTable");
    question.writeCString((std::string(IEcho::descriptor) + "/" + instance).c_str());
    send(callOf(0, 1, question, 1));
    Frame answer;
    if (!receive(&answer) || answer.objects.size() != 1) return false;
    service_ = answer.objects[0].objectId;
    return true;
}

void Peer::send(const Frame& frame) {
    std::vector<int> descriptors;
    for (const unique_fd& fd : frame.descriptors) descriptors.push_back(fd.get());
    FrameWriter writer(frame.header, frame.items, frame.objects, descriptors, {});
    writer.writeRest(socket_.get(), kBoundMs);
}

void Peer::sendBytes(const void* bytes, size_t size) {
    EXPECT_EQ(::send(socket_.get(), bytes, size, MSG_NOSIGNAL), static_cast<ssize_t>(size));
}

void Peer::reply(uint64_t callId, const Parcel& results,
                 const std::vector<ObjectReference>& objects) {
    Frame frame = callOf(0, 0, results, callId);
    frame.header.kind = FrameKind::kReply;
    for (const ObjectReference& object : objects) addObject(frame, object);
    send(frame);
}

void Peer::finish(size_t lastBytes) {
    sendBytes(&kFrameMagic, lastBytes);
    shutdown(socket_.get(), SHUT_WR);
}

bool Peer::receive(Frame* frame) {
    while (!reader_.next(frame)) {
        if (reader_.receive(socket_.get(), 0) == FrameReader::Outcome::kEnd) return false;
    }
    return true;
}

bool Peer::isDropped() {
    char bytes[4096];
    pollfd waiting{socket_.get(), POLLIN, 0};
    while (poll(&waiting, 1, kBoundMs) > 0) {
        if (recv(socket_.get(), bytes, sizeof(bytes), 0) <= 0) return true;
    }
    return false;
}

bool Peer::isOpen() const {
    pollfd end{socket_.get(), 0, 0};
    return poll(&end, 1, 0) == 0;
}

// FakeService

FakeService::FakeService(const std::string& instance, std::function<void(int listener)> serve,
                         int backlog)
    : registry_(*Registry::open(Registry::Mode::kCreate)), listener_(unixSocket()) {
    EXPECT_EQ(registry_.bind(listener_, name_), 0);
    EXPECT_EQ(listen(listener_.get(), backlog), 0);
    EXPECT_EQ(registry_.publish(IEcho::descriptor, instance, name_), 0);
    thread_ = std::thread(std::move(serve), listener_.get());
}

FakeService::~FakeService() {
    thread_.join();
    registry_.removeSocket(name_);
}

Peer acceptFrom(int listener) {
    return Peer(unique_fd(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC)));
}

}  // namespace moriak_test
