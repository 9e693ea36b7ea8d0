// What a program sees of the death of a service, and a service of the death of a client.
#include <fmq/MessageQueue.h>
#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>
#include <unistd.h>

#include <condition_variable>
#include <functional>
#include <future>
#include <string>
#include <thread>

#include "platform/echo_service.h"

namespace moriak_test {
namespace {

using android::wp;
using android::hardware::hidl_death_recipient;
using android::hidl::base::V1_0::IBase;
using TestSupport::resourcesOf;

class Recipient : public hidl_death_recipient {
  public:
    explicit Recipient(std::function<void()> onDeath = [] {}) : onDeath_(std::move(onDeath)) {}

    void serviceDied(uint64_t cookie, const wp<IBase>& /* who */) override {
        onDeath_();
        const std::lock_guard lock(mutex_);
        cookies_.push_back(cookie);
        thread_ = std::this_thread::get_id();
        told_.notify_all();
    }

    bool isTold() {
        std::unique_lock lock(mutex_);
        return told_.wait_for(lock, kLongEnough, [&] { return !cookies_.empty(); });
    }
    std::vector<uint64_t> cookies() {
        const std::lock_guard lock(mutex_);
        return cookies_;
    }
    std::thread::id thread() const { return thread_; }

  private:
    const std::function<void()> onDeath_;
    std::mutex mutex_;
    std::condition_variable told_;
    std::vector<uint64_t> cookies_;
    std::thread::id thread_;
};

class DeathTest : public testing::Test {
  protected:
    RuntimeDirectory directory_;
    ServiceProcess process_;
    sp<IEcho> echo_ = IEcho::getService();
};

TEST_F(DeathTest, EveryRecipientIsToldOnceOnAnotherThread) {
    const sp<Recipient> first = new Recipient;
    const sp<Recipient> second = new Recipient;
    const sp<Recipient> unlinked = new Recipient;
    const sp<IEcho> child = echo_->getChild();
    ASSERT_TRUE(echo_->linkToDeath(first, 7));
    ASSERT_TRUE(echo_->linkToDeath(unlinked, 0));
    ASSERT_TRUE(child->linkToDeath(second, 8));
    EXPECT_TRUE(echo_->unlinkToDeath(unlinked));
    EXPECT_FALSE(echo_->unlinkToDeath(unlinked)) << "it is not linked any more";

    process_.kill();
    EXPECT_TRUE(first->isTold());
    EXPECT_TRUE(second->isTold());
    EXPECT_NE(first->thread(), std::this_thread::get_id());

    // Whatever else could be told is told before a later death.
    ServiceProcess later("later");
    const sp<IEcho> laterEcho = IEcho::getService("later");
    const sp<Recipient> last = new Recipient;
    ASSERT_TRUE(laterEcho->linkToDeath(last, 0));
    later.kill();
    EXPECT_TRUE(last->isTold());
    EXPECT_EQ(first->cookies(), std::vector<uint64_t>{7});
    EXPECT_EQ(second->cookies(), std::vector<uint64_t>{8});
    EXPECT_TRUE(unlinked->cookies().empty());
}

TEST_F(DeathTest, CallsInFlightAndLaterOnesFailWithDeadObject) {
    std::promise<void> calling;
    std::future<std::string> failure = std::async(std::launch::async, [&] {
        calling.set_value();
        const Return<void> hung = echo_->hang();
        return hung.isOk() ? "ok" : hung.description();
    });
    calling.get_future().wait();
    process_.kill();
    ASSERT_EQ(failure.wait_for(kLongEnough), std::future_status::ready);
    EXPECT_NE(failure.get().find("DEAD_OBJECT"), std::string::npos);

    const Return<bool> later = echo_->isKept(nullptr);
    ASSERT_FALSE(later.isOk());
    EXPECT_NE(later.description().find("DEAD_OBJECT"), std::string::npos);
    EXPECT_FALSE(echo_->collect(1).isOk());
}

TEST_F(DeathTest, LinkingToADeadServiceFailsWithoutACall) {
    process_.kill();
    EXPECT_TRUE(becomesTrue([&] { return !echo_->ping().isOk(); }));
    const sp<Recipient> recipient = new Recipient;
    EXPECT_FALSE(echo_->linkToDeath(recipient, 0));
    EXPECT_TRUE(recipient->cookies().empty());
}

TEST_F(DeathTest, ARecipientMayUnlinkAndReleaseEverything) {
    const sp<Recipient> other = new Recipient;
    sp<Recipient> recipient;
    recipient = new Recipient([&] {
        echo_->unlinkToDeath(recipient).isOk();
        echo_->unlinkToDeath(other).isOk();
        echo_ = nullptr;
        recipient = nullptr;
    });
    const wp<Recipient> watched = recipient;
    ASSERT_TRUE(echo_->linkToDeath(recipient, 0));
    ASSERT_TRUE(echo_->linkToDeath(other, 0));
    process_.kill();
    EXPECT_TRUE(becomesTrue([&] { return watched.promote() == nullptr; }));
    EXPECT_TRUE(other->cookies().empty()) << "it was unlinked before it was told";
}

TEST_F(DeathTest, AServiceThatCameBackIsFoundAgain) {
    process_.kill();
    EXPECT_EQ(IEcho::getService(), nullptr);
    ServiceProcess second;
    const sp<IEcho> echo = IEcho::getService();
    ASSERT_NE(echo, nullptr);
    EXPECT_TRUE(echo->ping().isOk());
    EXPECT_FALSE(echo_->ping().isOk()) << "the old proxy stays dead";
}

TEST_F(DeathTest, NothingIsLeftOfDeadServices) {
    process_.kill();
    EXPECT_TRUE(becomesTrue([&] { return !echo_->ping().isOk(); }));
    const size_t descriptors = resourcesOf(getpid()).descriptors;
    std::vector<sp<IEcho>> deadProxies;
    for (int i = 0; i < 5; ++i) {
        ServiceProcess service;
        deadProxies.push_back(IEcho::getService());
        const sp<IListener> listener = new Listener([](int32_t question) { return question; });
        EXPECT_TRUE(deadProxies.back()->keep(listener).isOk());
    }
    EXPECT_TRUE(becomesTrue([&] { return resourcesOf(getpid()).descriptors <= descriptors; }));
    // All but this thread, the one that listens, and those that sanitizers run end in time.
    EXPECT_TRUE(becomesTrue([&] { return resourcesOf(getpid()).threads <= 3; }));
}

TEST(ClientDeathTest, NothingIsLeftOfADeadClient) {
    const RuntimeDirectory directory;
    const sp<EchoService> service = new EchoService;
    ASSERT_EQ(service->registerAsService("host"), android::OK);
    const size_t descriptors = resourcesOf(getpid()).descriptors;
    for (int i = 0; i < 3; ++i) {
        ClientProcess client("host");
        const sp<IListener> listener = service->getKept();
        ASSERT_NE(listener, nullptr);
        EXPECT_EQ(int32_t(listener->ask(5)), 5);
        const sp<Recipient> recipient = new Recipient;
        ASSERT_TRUE(listener->linkToDeath(recipient, 0));
        client.kill();
        EXPECT_TRUE(recipient->isTold());
        EXPECT_FALSE(listener->ask(5).isOk());
    }
    EXPECT_TRUE(becomesTrue([&] { return resourcesOf(getpid()).descriptors <= descriptors; }));
}

}  // namespace
}  // namespace moriak_test
