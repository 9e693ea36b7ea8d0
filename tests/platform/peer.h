// A peer that speaks the protocol by hand and may break it.
#pragma once

#include <hwbinder/Parcel.h>
#include <moriak/test/calls/1.0/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "transport/Frame.h"
#include "transport/Registry.h"

namespace moriak_test {

using android::hardware::Parcel;
using android::hardware::details::Frame;
using android::hardware::details::FrameHeader;
using android::hardware::details::FrameKind;
using android::hardware::details::FrameReader;
using android::hardware::details::ObjectOwner;
using android::hardware::details::ObjectReference;
using android::hardware::details::Registry;
using android::hardware::details::unique_fd;
using moriak::test::calls::V1_0::Record;

// IEcho's methods, by their place in its declaration.
constexpr uint32_t kReverse = 1;
constexpr uint32_t kForward = 2;
constexpr uint32_t kKeep = 3;
constexpr uint32_t kCollect = 6;
constexpr uint32_t kCollected = 7;
constexpr uint32_t kHang = 8;
/** IBase::debug */
constexpr uint32_t kDebug = 256131655;

// What stands in a parcel for an object, for none and for a handle.
constexpr uint32_t kObjectItem = 0x4f424a45;
constexpr uint32_t kNullObjectItem = 0x4e4f424a;
constexpr uint32_t kHandleItem = 0x48414e44;

Parcel argumentsFor(const char* interface);
Parcel argumentsOfReverse(const android::hardware::hidl_vec<Record>& records);

/** @param callId 0 for a one-way call */
Frame callOf(uint64_t objectId, uint32_t code, const Parcel& arguments, uint64_t callId = 2);

void addObject(Frame& message, ObjectReference object);

/** Not open if the connection is refused. */
unique_fd connectedTo(const std::string& path);
/** To the process that has the service. */
unique_fd connectedToService(const std::string& instance);

/** Threading: one thread at a time. */
class Peer {
  public:
    explicit Peer(unique_fd socket) : socket_(std::move(socket)) {}
    /** Connects to the service's process and asks it for the service. */
    explicit Peer(const std::string& instance) : Peer(connectedToService(instance), instance) {}
    Peer(unique_fd socket, const std::string& instance);

    /** Whether the process answers the question for the service. */
    bool isServed(const std::string& instance);
    uint64_t service() const { return service_; }

    void send(const Frame& frame);
    void sendBytes(const void* bytes, size_t size);
    void reply(uint64_t callId, const Parcel& results,
               const std::vector<ObjectReference>& objects = {});
    /** Says that nothing more will come, after a part of a header. */
    void finish(size_t lastBytes);

    /** @return false at the end of the connection */
    bool receive(Frame* frame);
    /** Whether the other side hangs up in time, whatever it sends before. */
    bool isDropped();
    /** Whether the other side has not hung up so far, with whatever it sends left unread. */
    bool isOpen() const;

  private:
    unique_fd socket_;
    FrameReader reader_;
    uint64_t service_ = 0;
};

/** A process, as it seems, that has an IEcho; in truth it is this one. */
class FakeService {
  public:
    /** @param serve called on a thread of its own with the socket that listens */
    FakeService(const std::string& instance, std::function<void(int listener)> serve,
                int backlog = 1);
    /** Waits for the end of `serve`. */
    ~FakeService();

  private:
    // Named like a socket of this process, which it is, but not the runtime's.
    const std::string name_ = Registry::newSocketName();
    Registry registry_;
    unique_fd listener_;
    std::thread thread_;
};

/** The client that connects next. */
Peer acceptFrom(int listener);

}  // namespace moriak_test
