// Calls between processes and within one: what arrives, on which thread, in which order.
#include <android-base/unique_fd.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>
#include <hwbinder/IPCThreadState.h>
#include <unistd.h>

#include <thread>

#include "platform/echo_service.h"

namespace moriak_test {
namespace {

using android::base::unique_fd;
using android::hardware::interfacesEqual;
using android::hardware::IPCThreadState;
using testing::ElementsAre;

class CallsTest : public testing::Test {
  protected:
    RuntimeDirectory directory_;
    ServiceProcess process_;
    sp<IEcho> echo_ = IEcho::getService();
};

/** A pipe, whose writing end can be sent. */
struct Pipe {
    Pipe() {
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        readEnd.reset(ends[0]);
        native_handle_t* native = native_handle_create(1, 0);
        native->data[0] = ends[1];
        writeEnd.setTo(native, true);
    }

    /** What was written, once nobody can write any more. */
    std::string content() {
        writeEnd = nullptr;
        std::string text(100, '\0');
        text.resize(static_cast<size_t>(read(readEnd.get(), text.data(), text.size())));
        return text;
    }

    unique_fd readEnd;
    hidl_handle writeEnd;
};

TEST_F(CallsTest, NestedValuesArriveWhole) {
    ASSERT_NE(echo_, nullptr);
    EXPECT_TRUE(echo_->isRemote());
    Pipe pipe;
    hidl_vec<Record> records(3);
    records[0].name = "first";
    records[0].numbers = {1, 2, 3};
    records[0].file = pipe.writeEnd;
    records[2].name = std::string(100'000, 'x');

    hidl_vec<Record> reversed;
    ASSERT_TRUE(echo_->reverse(records, [&](const auto& answer) { reversed = answer; }).isOk());
    records = {};

    ASSERT_EQ(reversed.size(), 3u);
    EXPECT_EQ(reversed[0].name, std::string(100'000, 'x'));
    EXPECT_EQ(reversed[1].name, "");
    EXPECT_EQ(reversed[1].numbers.size(), 0u);
    EXPECT_EQ(reversed[1].file.getNativeHandle(), nullptr);
    EXPECT_EQ(reversed[2].name, "first");
    EXPECT_THAT(std::vector<uint32_t>(reversed[2].numbers), ElementsAre(3, 2, 1));
    // The descriptor has gone to the service and come back as another one.
    EXPECT_TRUE(echo_->debug(reversed[2].file, {"to the pipe"}).isOk());
    reversed = {};
    EXPECT_EQ(pipe.content(), "to the pipe");
}

TEST_F(CallsTest, DescriptorsAreClosedWhenTheCallIsOver) {
    const size_t before = process_.descriptors();
    for (int i = 0; i < 50; ++i) {
        Pipe pipe;
        EXPECT_TRUE(echo_->debug(pipe.writeEnd, {"text"}).isOk());
        EXPECT_EQ(pipe.content(), "text");
    }
    EXPECT_TRUE(becomesTrue([&] { return process_.descriptors() <= before; }));
}

TEST_F(CallsTest, ACallTooLargeToSendFailsAndTheConnectionLivesOn) {
    hidl_vec<Record> records(1);
    records[0].name = std::string(2'000'000, 'x');
    EXPECT_FALSE(echo_->reverse(records, [](const auto&) {}).isOk());
    EXPECT_TRUE(echo_->ping().isOk());
}

TEST_F(CallsTest, NestedCallsComeBackOnTheThreadThatWaitsForThem) {
    sp<IListener> listener;
    listener = new Listener([&, test = std::this_thread::get_id()](int32_t depth) -> int32_t {
        EXPECT_EQ(std::this_thread::get_id(), test);
        EXPECT_EQ(IPCThreadState::self()->getCallingPid(), process_.pid());
        return depth == 0 ? 0 : 1 + echo_->forward(listener, depth - 1);
    });
    EXPECT_EQ(int32_t(echo_->forward(listener, 30)), 30);
    EXPECT_EQ(IPCThreadState::self()->getCallingPid(), getpid());
}

TEST_F(CallsTest, ManyThreadsCallAtOnce) {
    std::vector<std::thread> threads;
    for (int32_t thread = 0; thread < 8; ++thread) {
        threads.emplace_back([&, thread] {
            for (int32_t i = thread; i < 800; i += 8) {
                EXPECT_EQ(int32_t(echo_->forward(new Listener, i)), i);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
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

TEST_F(CallsTest, ObjectsKeepTheirIdentityAndTheirInterfaces) {
    const sp<IListener> listener = new Listener;
    ASSERT_TRUE(echo_->keep(listener).isOk());
    EXPECT_TRUE(bool(echo_->isKept(listener)));
    EXPECT_FALSE(bool(echo_->isKept(new Listener)));
    EXPECT_FALSE(bool(echo_->isKept(nullptr)));
    EXPECT_EQ(sp<IListener>(echo_->getKept()), listener) << "an object comes home as itself";

    const sp<android::hidl::base::V1_0::IBase> base = echo_;
    EXPECT_TRUE(interfacesEqual(base, IEcho::getService()));
    EXPECT_FALSE(interfacesEqual(base, listener));
    EXPECT_TRUE(interfacesEqual(sp<IEcho>(IEcho::castFrom(base)), echo_));
    EXPECT_EQ(sp<IListener>(IListener::castFrom(base)), nullptr);
}

TEST_F(CallsTest, AnObjectLivesForAsLongAsTheServiceHoldsIt) {
    sp<IListener> listener = new Listener;
    const android::wp<IListener> watched = listener;
    ASSERT_TRUE(echo_->keep(listener).isOk());
    ASSERT_TRUE(echo_->keep(listener).isOk());
    listener = nullptr;
    EXPECT_NE(watched.promote(), nullptr);
    ASSERT_TRUE(echo_->keep(nullptr).isOk());
    EXPECT_TRUE(becomesTrue([&] { return watched.promote() == nullptr; }));
}

TEST(LocalCallsTest, AServiceOfTheSameProcessIsHandedOutAsItself) {
    const RuntimeDirectory directory;
    const sp<IEcho> service = new EchoService;
    ASSERT_EQ(service->registerAsService("local"), android::OK);
    EXPECT_EQ(IEcho::getService("local"), service);
    EXPECT_FALSE(service->isRemote());
}

/** What makes its objects into binders is kept for as long as the process lives. */
TEST(GeneratedCodeTest, IsNotUnloaded) {
    void* const package = dlopen(MORIAK_HAL, RTLD_NOW);
    ASSERT_NE(package, nullptr) << dlerror();
    dlclose(package);
    EXPECT_NE(dlopen(MORIAK_HAL, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

}  // namespace
}  // namespace moriak_test
