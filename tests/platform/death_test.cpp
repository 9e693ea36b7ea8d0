// The death of a service as seen by its clients, and of a client as seen by its service.
#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>
#include <unistd.h>

#include <cstdint>
#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/echo_service.h"

namespace moriak_test {
namespace {

using android::wp;
using android::hidl::base::V1_0::IBase;

/** Records the deaths of which it is notified. */
class Recipient : public android::hardware::hidl_death_recipient {
  public:
    explicit Recipient(std::function<void()> onDeath = [] {}) : onDeath_(std::move(onDeath)) {}

    void serviceDied(uint64_t cookie, const wp<IBase>& /*who*/) override {
        EXPECT_NE(std::this_thread::get_id(), creator_);
        onDeath_();
        const std::lock_guard lock(mutex_);
        cookies_.push_back(cookie);
    }

    std::vector<uint64_t> cookies() {
        const std::lock_guard lock(mutex_);
        return cookies_;
    }
    bool isTold() {
        return becomesTrue([this] { return !cookies().empty(); });
    }

  private:
    const std::thread::id creator_ = std::this_thread::get_id();
    const std::function<void()> onDeath_;
    std::mutex mutex_;
    std::vector<uint64_t> cookies_;
};

size_t openDescriptors() {
    return TestSupport::resourcesOf(getpid()).descriptors;
}

class DeathTest : public testing::Test {
  protected:
    const RuntimeDirectory& directory_ = RuntimeDirectory::ofProgram();
    ServiceProcess process_;
    sp<IEcho> echo_ = IEcho::getService();
};

TEST_F(DeathTest, EveryRecipientIsToldOnceOnAnotherThread) {
    const sp<Recipient> first = new Recipient;
    const sp<Recipient> second = new Recipient;
    const sp<Recipient> unlinked = new Recipient;
    ASSERT_TRUE(echo_->linkToDeath(first, 7));
    ASSERT_TRUE(echo_->linkToDeath(unlinked, 0));
    const sp<IEcho> again = IEcho::getService();
    ASSERT_TRUE(again->linkToDeath(second, 8));
    const sp<Recipient> forgotten = new Recipient;
    ASSERT_TRUE(IEcho::getService()->linkToDeath(forgotten, 0)) << "of a proxy that goes at once";
    EXPECT_TRUE(echo_->unlinkToDeath(unlinked));
    EXPECT_FALSE(echo_->unlinkToDeath(unlinked)) << "it is not linked any more";
    process_.kill();

    // Any wrong notification would arrive before that of a later death.
    ServiceProcess later("later");
    const sp<IEcho> laterEcho = IEcho::getService("later");
    const sp<Recipient> last = new Recipient;
    ASSERT_TRUE(laterEcho->linkToDeath(last, 0));
    later.kill();
    EXPECT_TRUE(first->isTold() && second->isTold() && last->isTold());
    EXPECT_EQ(first->cookies(), std::vector<uint64_t>{7});
    EXPECT_EQ(second->cookies(), std::vector<uint64_t>{8});
    EXPECT_TRUE(unlinked->cookies().empty());
    EXPECT_TRUE(forgotten->cookies().empty());
}

TEST_F(DeathTest, CallsInFlightAndLaterOnesFailWithDeadObject) {
    // One of them reads for all.
    std::vector<std::future<std::string>> failures;
    for (int i = 0; i < 3; ++i) {
        failures.push_back(std::async(std::launch::async, [&] {
            const Return<void> hung = echo_->hang();
            return hung.isOk() ? "ok" : hung.description();
        }));
    }
    EXPECT_TRUE(becomesTrue([&] { return TestSupport::resourcesOf(process_.pid()).threads > 3; }));
    process_.kill();
    for (auto& failure : failures) {
        EXPECT_NE(failure.get().find("DEAD_OBJECT"), std::string::npos);
    }

    const Return<bool> later = echo_->isKept(nullptr);
    ASSERT_FALSE(later.isOk());
    EXPECT_NE(later.description().find("DEAD_OBJECT"), std::string::npos);
    EXPECT_FALSE(echo_->collect(1).isOk());
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

TEST_F(DeathTest, NothingIsLeftOfDeadServices) {
    process_.kill();
    EXPECT_TRUE(becomesTrue([&] { return !echo_->ping().isOk(); }));
    const size_t before = openDescriptors();
    std::vector<sp<IEcho>> deadProxies;
    for (int i = 0; i < 5; ++i) {
        const ServiceProcess service;
        deadProxies.push_back(IEcho::getService());
        EXPECT_TRUE(deadProxies.back()->keep(new Listener).isOk());
    }
    EXPECT_TRUE(becomesTrue([&] { return openDescriptors() <= before; }));
    // All but this thread, the one that listens, and those that sanitizers run end in time.
    EXPECT_TRUE(becomesTrue([] { return TestSupport::resourcesOf(getpid()).threads <= 3; }));
}

TEST(ClientDeathTest, NothingIsLeftOfADeadClient) {
    RuntimeDirectory::ofProgram();
    const sp<EchoService> service = new EchoService;
    ASSERT_EQ(service->registerAsService("host"), android::OK);
    const size_t before = openDescriptors();
    for (int i = 0; i < 3; ++i) {
        ClientProcess client("host");
        const sp<IListener> listener = service->getKept();
        EXPECT_EQ(int32_t(listener->ask(5)), 5);
        const sp<Recipient> recipient = new Recipient;
        ASSERT_TRUE(listener->linkToDeath(recipient, 0));
        client.kill();
        EXPECT_TRUE(recipient->isTold());
        EXPECT_FALSE(listener->ask(5).isOk());
    }
    EXPECT_TRUE(becomesTrue([&] { return openDescriptors() <= before; }));
}

}  // namespace
}  // namespace moriak_test
