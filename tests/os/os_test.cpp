// Event-flag words, bound methods and the process name.
#include <cutils/ashmem.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>
#include <utils/RefBase.h>

#include <atomic>
#include <cstdint>
#include <future>
#include <string>
#include <thread>

#include "os/bind_receiver.h"
#include "os/event_flag.h"
#include "os/process.h"
#include "support/child_process.h"
#include "support/handle.h"

namespace {

using android::hardware::EventFlag;
using android::hardware::hidl_handle;

TEST(EventFlagHandle, MappingsShareTheWordThatAHandleHas) {
    const hidl_handle handle = Vek::OS::createEventFlagHandle("test");
    EventFlag* first = Vek::OS::createEventFlagFromHandle(handle);
    EventFlag* second = Vek::OS::createEventFlagFromHandle(hidl_handle(handle));
    ASSERT_TRUE(first != nullptr && second != nullptr);
    first->wake(4);
    uint32_t state = 0;
    EXPECT_EQ(second->wait(6, &state, 1), android::NO_ERROR);
    EXPECT_EQ(state, 4U);
    Vek::OS::deleteEventFlag(&first);
    Vek::OS::deleteEventFlag(&second);

    const int word = handle->data[0];
    EXPECT_EQ(Vek::OS::createEventFlagFromHandle(TestSupport::handleOf({}, {word})), nullptr);
    EXPECT_EQ(Vek::OS::createEventFlagFromHandle(hidl_handle{}), nullptr);
    const int tooSmall = ashmem_create_region("half a word", 2);
    EXPECT_EQ(Vek::OS::createEventFlagFromHandle(TestSupport::handleOf({tooSmall})), nullptr);
}

TEST(EventFlagHandle, AWakeReachesAWaiterWhoseBitWasSetWithoutAWake) {
    constexpr uint32_t kBit = 1U << 31;
    const hidl_handle handle = Vek::OS::createEventFlagHandle("test");
    EventFlag* eventFlag = Vek::OS::createEventFlagFromHandle(handle);
    void* const page = mmap(nullptr, 4, PROT_READ | PROT_WRITE, MAP_SHARED, handle->data[0], 0);
    std::promise<pid_t> started;
    std::thread waiter([&] {
        started.set_value(gettid());
        uint32_t state = 0;
        eventFlag->wait(kBit, &state, 0, true);
        EXPECT_EQ(state, kBit);
    });
    EXPECT_TRUE(TestSupport::fallsAsleep(started.get_future().get()));
    static_cast<std::atomic<uint32_t>*>(page)->fetch_or(kBit);
    Vek::OS::wakeEventFlag(*eventFlag, kBit);
    waiter.join();
    munmap(page, 4);
    Vek::OS::deleteEventFlag(&eventFlag);
}

TEST(BindReceiver, ForwardsArgumentsAndKeepsTheReceiverAlive) {
    struct Receiver : android::RefBase {
        explicit Receiver(bool& destroyedFlag) : destroyed(destroyedFlag) {}
        ~Receiver() override { destroyed = true; }
        int difference(int a, const int& b) { return a - b; }
        bool& destroyed;
    };
    bool destroyed = false;
    {
        const Vek::OS::BindReceiver bound{android::sp<Receiver>(new Receiver(destroyed)),
                                          &Receiver::difference};
        EXPECT_EQ(bound(7, 3), 4);
        EXPECT_FALSE(destroyed);
    }
    EXPECT_TRUE(destroyed);
}

TEST(Process, NameIsTheFirstArgument) {
    const std::string name = Vek::OS::Process::getCurrentProcessName();
    EXPECT_EQ(name.substr(name.size() - 8), "os_tests") << name;
}

}  // namespace
