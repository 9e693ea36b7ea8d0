// The objects of one connection: how many each side keeps for the other.
#include <gtest/gtest.h>
#include <hwbinder/Binder.h>
#include <sys/socket.h>
#include <unistd.h>

#include <condition_variable>
#include <mutex>

#include "transport/BrokenPeer.h"
#include "transport/Connection.h"
#include "transport/ObjectTable.h"

namespace moriak_test {
namespace {

using namespace android::hardware::details;
using android::sp;
using android::hardware::BHwBinder;
using android::hardware::Parcel;

class Object : public BHwBinder {
  protected:
    android::status_t onTransact(uint32_t, const Parcel&, Parcel*, uint32_t,
                                 TransactCallback) override {
        return android::OK;
    }
};

class Owner final : public Connection::Owner {
  public:
    void onEnd(const Connection*) override {
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

/** A connection whose peer is this process, too. */
class ObjectTableTest : public testing::Test {
  protected:
    ObjectTableTest() {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        peer_ = unique_fd(ends[1]);
        connection_ = Connection::start(unique_fd(ends[0]), {getpid(), geteuid(), getegid()},
                                        new Object, owner_);
    }
    ~ObjectTableTest() override {
        peer_.reset();
        owner_.awaitEnd();
    }

    Owner owner_;
    unique_fd peer_;
    std::shared_ptr<Connection> connection_;
    ObjectTable table_{new Object};
};

TEST_F(ObjectTableTest, ThePeerMaySendAsManyAsThereMayBeAndNoMore) {
    std::vector<ObjectReference> references;
    for (uint64_t id = 1; id <= ObjectTable::kMaxObjectsHeld; ++id) {
        references.push_back({id, ObjectOwner::kSender});
    }
    const auto held = table_.receive(references, connection_);
    EXPECT_EQ(held.size(), ObjectTable::kMaxObjectsHeld);
    EXPECT_EQ(table_.receive({references.back()}, connection_).front(), held.back());
    const uint64_t next = ObjectTable::kMaxObjectsHeld + 1;
    EXPECT_THROW(table_.receive({{next, ObjectOwner::kSender}}, connection_), BrokenPeer);
}

TEST_F(ObjectTableTest, NoMoreAreSentThanThePeerTakes) {
    Parcel parcel;
    // The root, which every process offers, is one of them.
    for (size_t i = 1; i < ObjectTable::kMaxObjectsHeld; ++i) {
        parcel.writeStrongBinder(new Object);
    }
    const auto sent = [this](const Parcel& objects) {
        std::vector<ObjectReference> references;
        std::vector<FrameHeader> releases;
        return table_.send(objects, *connection_, &references, &releases);
    };
    EXPECT_EQ(sent(parcel), android::OK);
    EXPECT_EQ(sent(parcel), android::OK) << "those that the peer has";
    Parcel oneMore;
    oneMore.writeStrongBinder(new Object);
    EXPECT_EQ(sent(oneMore), android::NO_MEMORY);
}

}  // namespace
}  // namespace moriak_test
