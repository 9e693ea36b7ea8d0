// A peer on a live connection that sends whole and well-formed messages of any kind in any order,
// while calls of ours wait for their replies: of an object, and of the table of services.
//
// An input is a message after the other; each is read by Message below.
#include "transport/Connection.h"

#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/BpHwBase.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlTransportSupport.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "target.h"
#include "transport/Endpoint.h"

namespace {

using namespace android::hardware;
using namespace android::hardware::details;
using android::sp;
using android::hidl::base::V1_0::BnHwBase;
using android::hidl::base::V1_0::BpHwBase;
using android::hidl::base::V1_0::IBase;

constexpr uint32_t kGiveObject = 1;
constexpr uint32_t kCallBack = 2;
constexpr uint32_t kTakeObjects = 3;

/// An object of this process: hands out others, keeps objects of the peer that it receives, and
/// calls them.
class Object : public BHwBinder {
  public:
    static inline std::atomic<int> alive{0};
    Object() { ++alive; }
    ~Object() override { --alive; }

  protected:
    android::status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                                 TransactCallback /*callback*/) override {
        switch (code) {
            case kGiveObject:
                return reply->writeStrongBinder(new Object);
            case kCallBack: {
                sp<IBinder> object;
                if (data.readNullableStrongBinder(&object) != android::OK || object == nullptr) {
                    return android::BAD_VALUE;
                }
                Parcel results;
                return object->transact(kTakeObjects, {}, &results, flags & FLAG_ONEWAY);
            }
            case kTakeObjects: {
                sp<IBinder> object;
                const android::status_t status = data.readNullableStrongBinder(&object);
                // Keeps only the peer's objects: one of this process could be this one, which would
                // then keep itself alive.
                if (object != nullptr && object->remoteBinder() != nullptr) {
                    const std::lock_guard lock(mutex_);
                    kept_ = object;
                }
                return status;
            }
        }
        return android::UNKNOWN_TRANSACTION;
    }

  private:
    std::mutex mutex_;
    sp<IBinder> kept_;
};

class Owner : public Connection::Owner {
  public:
    void onEnd(const Connection* /*connection*/) override {
        const std::lock_guard lock(mutex_);
        hasEnded_ = true;
        changed_.notify_one();
    }
    void onTooManyDescriptors() override {}
    void awaitEnd() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return hasEnded_; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool hasEnded_ = false;
};

/// A message with numbers that are usually valid, and random other fields.
Frame messageOf(FuzzedDataProvider& input) {
    Frame frame;
    FrameHeader& header = frame.header;
    const auto small = [&] { return input.ConsumeIntegralInRange<uint64_t>(0, 7); };
    header.kind = FrameKind(input.ConsumeIntegralInRange<uint32_t>(1, 4));
    header.callId = small();
    header.parentCallId = small();
    header.objectId = small();
    header.givenBack = header.kind == FrameKind::kServed ? small() << 12 : small();
    header.code = input.ConsumeIntegralInRange<uint32_t>(0, kTakeObjects);
    header.flags = input.ConsumeBool() ? IBinder::FLAG_ONEWAY : 0;
    header.status = input.ConsumeBool() ? android::OK : android::BAD_VALUE;
    Parcel items;
    for (uint64_t count = small(); count > 0; --count) {
        frame.objects.push_back({small(), ObjectOwner(input.ConsumeIntegralInRange(0, 2))});
        items.writeUint32(0x4f424a45);
    }
    frame.items = items.items();
    for (uint64_t count = small(); count > 4; --count) {
        frame.descriptors.emplace_back(memfd_create("sent", MFD_CLOEXEC));
    }
    header.itemBytes = static_cast<uint32_t>(frame.items.size());
    header.objectCount = static_cast<uint32_t>(frame.objects.size());
    header.descriptorCount = static_cast<uint32_t>(frame.descriptors.size());
    return frame;
}

void send(int socket, const Frame& frame) {
    std::vector<int> descriptors;
    for (const unique_fd& descriptor : frame.descriptors) {
        descriptors.push_back(descriptor.get());
    }
    FrameWriter(frame.header, frame.items, frame.objects, descriptors, {}).writeSome(socket);
}

void drain(int socket) {
    char bytes[4096];
    while (recv(socket, bytes, sizeof(bytes), MSG_DONTWAIT) > 0) {
    }
}

/// Looks up a service like getService; the peer may answer anything.
void lookUp(Connection& connection) {
    sp<IBinder> service;
    if (ServiceTable::ask(connection, "interface/name", &service) != android::OK) {
        return;
    }
    const sp<IBase> base = fromBinder<IBase, BpHwBase, BnHwBase>(service);
    if (base != nullptr) {
        // As generated code does, to check the type of the service.
        details::canCastInterface(base.get(), "interface").isOk();
    }
}

template <typename Condition>
void await(const Condition& condition) {
    while (!condition()) {
        std::this_thread::yield();
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const ThreadPool& pool = ThreadPool::self();  // opens its descriptors
    static_cast<void>(pool);
    FuzzedDataProvider input{data, size};
    const Fuzz::LeakCheck leaks;
    int ends[2];
    VEK_ALWAYS_ASSERT(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0);
    unique_fd peer{ends[1]};
    Owner owner;
    std::shared_ptr<Connection> connection =
        Connection::start(unique_fd(ends[0]), {getpid(), geteuid(), getegid()}, new Object, owner);
    VEK_ALWAYS_ASSERT(connection != nullptr);
    std::thread caller([&] {
        Parcel arguments;
        arguments.writeStrongBinder(new Object);
        for (int i = 0; i < 3 && connection->isAlive(); ++i) {
            Parcel reply;
            connection->call(1, kCallBack, arguments, &reply, 0);
            sp<IBinder> object;
            reply.readNullableStrongBinder(&object);
            lookUp(*connection);
        }
    });
    while (input.remaining_bytes() > 0 && connection->isAlive()) {
        const Frame message = messageOf(input);
        if (message.header.kind == FrameKind::kReply) {
            // Most replies are to a call that has been made.
            constexpr int kLongestWait = 10;  // ms
            pollfd call{peer.get(), POLLIN, 0};
            poll(&call, 1, kLongestWait);
        }
        send(peer.get(), message);
        drain(peer.get());
    }
    peer.reset();
    caller.join();
    owner.awaitEnd();
    const std::weak_ptr<Connection> watched = std::exchange(connection, nullptr);
    // Whatever the peer did, nothing is left: no object of either side, no descriptor.
    await([&] { return watched.expired() && Object::alive == 0; });
    return 0;
}
