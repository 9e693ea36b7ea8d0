// MORIAK_HIDL_AS_ON_DEVICE: look-ups that wait, and as many HIDL threads as a program configures.
#include <android/log.h>
#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <utility>

#include "platform/echo_service.h"

namespace moriak_test {
namespace {

using TestSupport::ChildProcess;
using TestSupport::sendNotice;

const TestSupport::ClientRole kPatientClient{
    "patient client", [] {
        __android_log_set_logger([](const __android_log_message* message) {
            if (std::strstr(message->message,
                            "Waited one second for moriak.test.calls@1.0::IEcho/late")) {
                sendNotice("waiting");
            }
        });
        if (IEcho::tryGetService("late") != nullptr) return 1;
        const sp<IEcho> late = IEcho::getService("late");
        return late != nullptr && late->ping().isOk() && sendNotice("found") ? 0 : 1;
    }};

struct Recipient : android::hardware::hidl_death_recipient {
    explicit Recipient(std::function<void()> onDeath) : onDeath_(std::move(onDeath)) {}
    void serviceDied(uint64_t /*cookie*/,
                     const android::wp<android::hidl::base::V1_0::IBase>& /*who*/) override {
        onDeath_();
    }

  private:
    const std::function<void()> onDeath_;
};

/** Finds out whether the second death is notified while the first handler runs, or afterwards. */
const TestSupport::ClientRole kMourner{
    "mourner", [] {
        android::hardware::configureRpcThreadpool(
            std::strtoul(TestSupport::roleArgument().c_str(), nullptr, 10), false);
        std::mutex mutex;
        std::condition_variable changed;
        bool isReleased = false;
        bool isSecondTold = false;
        const sp<Recipient> firstRecipient = new Recipient([&] {
            std::unique_lock lock(mutex);
            sendNotice("busy");
            changed.wait(lock, [&] { return isReleased; });
        });
        const sp<Recipient> secondRecipient = new Recipient([&] {
            const std::lock_guard lock(mutex);
            isSecondTold = true;
            changed.notify_all();
        });
        const sp<IEcho> first = IEcho::getService("first");
        const sp<IEcho> second = IEcho::getService("second");
        if (!first->linkToDeath(firstRecipient, 0) || !second->linkToDeath(secondRecipient, 0) ||
            !sendNotice("linked") || !becomesTrue([&] { return !second->ping().isOk(); })) {
            return 1;
        }
        std::unique_lock lock(mutex);
        // Usually long enough to notice a second thread, which must not exist.
        changed.wait_for(lock, std::chrono::milliseconds(300), [&] { return isSecondTold; });
        sendNotice(isSecondTold ? "at once" : "afterwards");
        isReleased = true;
        changed.notify_all();
        changed.wait(lock, [&] { return isSecondTold; });
        _exit(0);  // the objects above must not end while calls of theirs may run
    }};

class AsOnDeviceTest : public testing::Test {
  protected:
    AsOnDeviceTest() { setenv("MORIAK_HIDL_AS_ON_DEVICE", "1", 1); }
    ~AsOnDeviceTest() override { unsetenv("MORIAK_HIDL_AS_ON_DEVICE"); }

    const RuntimeDirectory& directory_ = RuntimeDirectory::ofProgram();
};

TEST_F(AsOnDeviceTest, ALookUpWaitsForTheServiceAndSaysSoEachSecond) {
    const auto client = TestSupport::startClient("patient client", "none");
    EXPECT_EQ(client->awaitNotice(), "waiting");
    const ServiceProcess late("late");
    std::string notice = client->awaitNotice();
    while (!notice.empty() && notice.find("found") == std::string::npos) {
        notice = client->awaitNotice();
    }
    EXPECT_EQ(client->wait(), 0);
}

TEST_F(AsOnDeviceTest, AHandlerHoldsUpTheNextUnlessMoreThreadsAreConfigured) {
    for (const auto& [threads, expected] :
         {std::pair{"1", "afterwards"}, std::pair{"2", "at once"}}) {
        ServiceProcess first("first");
        ServiceProcess second("second");
        const auto client = TestSupport::startClient("mourner", threads);
        EXPECT_EQ(client->awaitNotice(), "linked");
        first.kill();
        EXPECT_EQ(client->awaitNotice(), "busy");
        second.kill();
        EXPECT_EQ(client->awaitNotice(), expected) << threads;
        EXPECT_EQ(client->wait(), 0) << threads;
    }
}

TEST(RpcThreadpoolDeathTest, CannotBeJoinedWithoutAConfiguration) {
    EXPECT_EXIT(android::hardware::joinRpcThreadpool(), testing::KilledBySignal(SIGABRT),
                "joinRpcThreadpool without calling configureRpcThreadpool");
}

}  // namespace
}  // namespace moriak_test
