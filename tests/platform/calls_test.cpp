// Calls between processes and within one: what arrives, on which thread, in which order.
#include <fcntl.h>
#include <fmq/MessageQueue.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>
#include <hwbinder/IPCThreadState.h>
#include <unistd.h>

#include <future>
#include <thread>

#include "platform/echo_service.h"

namespace moriak_test {
namespace {

using android::hardware::interfacesEqual;
using android::hardware::IPCThreadState;
using android::hardware::kSynchronizedReadWrite;
using android::hardware::MessageQueue;
using testing::ElementsAre;
using TestSupport::resourcesOf;

class CallsTest : public testing::Test {
  protected:
    RuntimeDirectory directory_;
    ServiceProcess process_;
    sp<IEcho> echo_ = IEcho::getService();
};

/** A handle to a pipe that holds `content` and has no writer. */
hidl_handle handleTo(const std::string& content) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    EXPECT_EQ(write(ends[1], content.data(), content.size()), ssize_t(content.size()));
    close(ends[1]);
    native_handle_t* native = native_handle_create(1, 0);
    native->data[0] = ends[0];
    hidl_handle handle;
    handle.setTo(native, true);
    return handle;
}

std::string contentOf(const sp<IEcho>& echo, const hidl_handle& file) {
    std::string read;
    EXPECT_TRUE(echo->readFile(file, [&](const auto& content) { read = content; }).isOk());
    return read;
}

TEST_F(CallsTest, NestedValuesArriveWhole) {
    ASSERT_NE(echo_, nullptr);
    EXPECT_TRUE(echo_->isRemote());
    hidl_vec<Record> records(3);
    records[0].name = "first";
    records[0].numbers = {1, 2, 3};
    records[0].file = handleTo("in the first record");
    records[2].name = std::string(100'000, 'x');

    hidl_vec<Record> reversed;
    ASSERT_TRUE(echo_->reverse(records, [&](const auto& answer) { reversed = answer; }).isOk());

    ASSERT_EQ(reversed.size(), 3u);
    EXPECT_EQ(reversed[0].name, std::string(100'000, 'x'));
    EXPECT_EQ(reversed[1].name, "");
    EXPECT_EQ(reversed[1].numbers.size(), 0u);
    EXPECT_EQ(reversed[1].file.getNativeHandle(), nullptr);
    EXPECT_EQ(reversed[2].name, "first");
    EXPECT_THAT(std::vector<uint32_t>(reversed[2].numbers), ElementsAre(3, 2, 1));
    // The descriptor has gone to the service and come back as another one.
    EXPECT_EQ(contentOf(echo_, reversed[2].file), "in the first record");
}

TEST_F(CallsTest, DescriptorsAreClosedWhenTheCallIsOver) {
    const size_t before = process_.resources().descriptors;
    const size_t beforeHere = resourcesOf(getpid()).descriptors;
    for (int i = 0; i < 50; ++i) EXPECT_EQ(contentOf(echo_, handleTo("text")), "text");
    EXPECT_EQ(contentOf(echo_, hidl_handle()), "");
    EXPECT_TRUE(becomesTrue([&] { return process_.resources().descriptors <= before; }));
    EXPECT_LE(resourcesOf(getpid()).descriptors, beforeHere);
}

TEST_F(CallsTest, AQueueIsSharedWithTheService) {
    MessageQueue<uint32_t, kSynchronizedReadWrite> queue(100);
    EXPECT_EQ(uint32_t(echo_->fill(*queue.getDesc())), 100u);
    uint32_t numbers[100] = {};
    ASSERT_TRUE(queue.read(numbers, 100));
    EXPECT_EQ(numbers[99], 99u);
}

TEST_F(CallsTest, ACallTooLargeToSendFailsAndTheConnectionLivesOn) {
    hidl_vec<Record> records(1);
    records[0].name = std::string(2'000'000, 'x');
    EXPECT_FALSE(echo_->reverse(records, [](const auto&) {}).isOk());
    EXPECT_TRUE(echo_->ping().isOk());
}

TEST_F(CallsTest, TheServiceCallsBackOnTheThreadThatWaitsForIt) {
    std::thread::id calledOn;
    pid_t calledBy = 0;
    const sp<IListener> listener = new Listener([&](int32_t question) {
        calledOn = std::this_thread::get_id();
        calledBy = IPCThreadState::self()->getCallingPid();
        return question + 1;
    });
    EXPECT_EQ(int32_t(echo_->forward(listener, 41)), 42);
    EXPECT_EQ(calledOn, std::this_thread::get_id());
    EXPECT_EQ(calledBy, process_.pid());
    EXPECT_EQ(IPCThreadState::self()->getCallingPid(), getpid());
}

TEST_F(CallsTest, CallsNestDeeply) {
    sp<IListener> listener;
    listener = new Listener([&](int32_t depth) -> int32_t {
        return depth == 0 ? 0 : 1 + echo_->forward(listener, depth - 1);
    });
    EXPECT_EQ(int32_t(echo_->forward(listener, 30)), 30);
}

TEST_F(CallsTest, ManyThreadsCallAtOnce) {
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int32_t thread = 0; thread < 8; ++thread) {
        threads.emplace_back([&, thread] {
            for (int32_t i = 0; i < 100; ++i) {
                const sp<IListener> listener =
                    new Listener([](int32_t question) { return -question; });
                right += int32_t(echo_->forward(listener, thread * i + 1)) == -(thread * i + 1);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(right, 800);
}

TEST_F(CallsTest, OneWayCallsKeepTheirOrder) {
    for (uint32_t i = 0; i < 500; ++i) ASSERT_TRUE(echo_->collect(i).isOk());
    std::vector<uint32_t> numbers;
    EXPECT_TRUE(becomesTrue([&] {
        EXPECT_TRUE(echo_->collected([&](const auto& all) { numbers = all; }).isOk());
        return numbers.size() >= 500;
    }));
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
}

TEST_F(CallsTest, ObjectsKeepTheirIdentity) {
    const sp<IListener> listener = new Listener([](int32_t question) { return question; });
    const sp<IListener> other = new Listener([](int32_t question) { return question; });
    ASSERT_TRUE(echo_->keep(listener).isOk());
    EXPECT_TRUE(bool(echo_->isKept(listener)));
    EXPECT_FALSE(bool(echo_->isKept(other)));
    EXPECT_FALSE(bool(echo_->isKept(nullptr)));
    EXPECT_EQ(sp<IListener>(echo_->getKept()), listener) << "an object comes home as itself";

    const sp<IEcho> child = echo_->getChild();
    EXPECT_TRUE(interfacesEqual(child, sp<IEcho>(echo_->getChild())));
    EXPECT_FALSE(interfacesEqual(child, echo_));
}

TEST_F(CallsTest, AnObjectLivesForAsLongAsTheServiceHoldsIt) {
    android::wp<IListener> watched;
    {
        const sp<IListener> listener = new Listener([](int32_t question) { return question; });
        watched = listener;
        ASSERT_TRUE(echo_->keep(listener).isOk());
        ASSERT_TRUE(echo_->keep(listener).isOk());
    }
    EXPECT_NE(watched.promote(), nullptr);
    ASSERT_TRUE(echo_->keep(nullptr).isOk());
    EXPECT_TRUE(becomesTrue([&] { return watched.promote() == nullptr; }));
}

TEST_F(CallsTest, CastFollowsTheInterfacesThatTheObjectHas) {
    const sp<android::hidl::base::V1_0::IBase> base = echo_;
    EXPECT_TRUE(interfacesEqual(sp<IEcho>(IEcho::castFrom(base)), echo_));
    EXPECT_EQ(sp<IListener>(IListener::castFrom(base)), nullptr);
}

TEST(LocalCallsTest, AServiceOfTheSameProcessIsHandedOutAsItself) {
    const RuntimeDirectory directory;
    const sp<IEcho> service = new EchoService;
    ASSERT_EQ(service->registerAsService("local"), android::OK);
    EXPECT_EQ(IEcho::getService("local"), service);
    EXPECT_EQ(IEcho::tryGetService("local"), service);
    EXPECT_FALSE(service->isRemote());
}

}  // namespace
}  // namespace moriak_test
