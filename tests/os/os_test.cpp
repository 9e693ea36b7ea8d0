// Event-flag words, bound methods and the process name.
#include <cutils/native_handle.h>
#include <gtest/gtest.h>
#include <utils/RefBase.h>

#include <cerrno>

#include "os/bind_receiver.h"
#include "os/event_flag.h"
#include "os/process.h"

namespace {

using android::hardware::EventFlag;
using android::hardware::hidl_handle;

TEST(EventFlagHandle, TwoMappingsOfOneHandleShareTheWord) {
    const hidl_handle handle = Vek::OS::createEventFlagHandle("test");
    ASSERT_NE(handle.getNativeHandle(), nullptr);
    const hidl_handle copy = handle;
    EventFlag* first = Vek::OS::createEventFlagFromHandle(handle);
    EventFlag* second = Vek::OS::createEventFlagFromHandle(copy);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);

    first->wake(4);
    uint32_t state = 0;
    EXPECT_EQ(second->wait(6, &state, 1, true), android::NO_ERROR);
    EXPECT_EQ(state, 4U);
    EXPECT_EQ(first->wait(6, &state, 1, true), -ETIMEDOUT);
    EventFlag::deleteEventFlag(&first);
    EventFlag::deleteEventFlag(&second);
}

TEST(EventFlagHandle, HandlesWithoutAWordYieldNoEventFlag) {
    EXPECT_EQ(Vek::OS::createEventFlagFromHandle(hidl_handle{}), nullptr);
    native_handle_t* const noDescriptors = native_handle_create(0, 1);
    hidl_handle empty;
    empty.setTo(noDescriptors, true);
    EXPECT_EQ(Vek::OS::createEventFlagFromHandle(empty), nullptr);
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
