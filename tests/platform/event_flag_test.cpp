// Event flags: which bits a wait takes, how it ends, and that it works across processes.
#include <android-base/unique_fd.h>
#include <cutils/ashmem.h>
#include <fmq/EventFlag.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <future>
#include <memory>
#include <thread>

#include "support/child_process.h"
#include "support/refused_calls.h"

namespace moriak_test {
namespace {

using android::NO_ERROR;
using android::base::unique_fd;
using android::hardware::EventFlag;

struct Delete {
    void operator()(EventFlag* flag) const { EventFlag::deleteEventFlag(&flag); }
};
using OwnedFlag = std::unique_ptr<EventFlag, Delete>;

OwnedFlag flagIn(const unique_fd& fd, off_t offset) {
    EventFlag* flag = nullptr;
    const android::status_t status = EventFlag::createEventFlag(fd.get(), offset, &flag);
    EXPECT_EQ(status == NO_ERROR, flag != nullptr);
    return OwnedFlag(flag);
}

TEST(EventFlagTest, AWaitTakesTheBitsOfItsMaskOrEndsWhenItsTimeIsUp) {
    std::atomic<uint32_t> word{0};
    EventFlag* made = nullptr;
    EXPECT_EQ(EventFlag::createEventFlag(&word, &made), NO_ERROR);
    const OwnedFlag flag(made);
    EXPECT_EQ(flag->wake(0b1011), NO_ERROR);
    EXPECT_EQ(flag->wake(0), NO_ERROR);
    uint32_t state = 0;
    EXPECT_EQ(flag->wait(0b0110, &state), NO_ERROR);
    EXPECT_EQ(state, 0b0010u);
    for (const bool retry : {false, true}) {
        EXPECT_EQ(flag->wait(0b0110, &state, 1'000'000, retry), -ETIMEDOUT);
        EXPECT_EQ(state, 0u);
    }
    EXPECT_EQ(word, 0b1001u);
    EXPECT_EQ(flag->wait(0, &state), android::BAD_VALUE);
    EXPECT_EQ(flag->wait(1, nullptr), android::BAD_VALUE);
    EXPECT_EQ(flag->wait(1, &state, -1), android::BAD_VALUE);
}

TEST(EventFlagTest, AWakeReachesAllWhoWaitForOneOfItsBits) {
    constexpr uint32_t kSetBefore = 4;
    std::atomic<uint32_t> word{kSetBefore};
    EventFlag* made = nullptr;
    ASSERT_EQ(EventFlag::createEventFlag(&word, &made), NO_ERROR);
    const OwnedFlag flag(made);
    const auto waitFor = [&](uint32_t bit, android::status_t* status) {
        std::promise<pid_t> started;
        std::thread waiter([&, bit, status] {
            started.set_value(gettid());
            uint32_t state = 0;
            *status = flag->wait(bit, &state);
            EXPECT_EQ(state, *status == NO_ERROR ? bit : 0);
        });
        EXPECT_TRUE(TestSupport::fallsAsleep(started.get_future().get()));
        return waiter;
    };
    android::status_t ofOne[2];
    android::status_t ofTwo;
    std::thread waiters[] = {waitFor(1, &ofOne[0]), waitFor(1, &ofOne[1]), waitFor(2, &ofTwo)};
    flag->wake(1 | 2 | kSetBefore);
    for (std::thread& waiter : waiters) waiter.join();
    EXPECT_EQ(ofTwo, NO_ERROR);
    EXPECT_EQ(std::min(ofOne[0], ofOne[1]), -EAGAIN) << "who comes second does not wait again";
    EXPECT_EQ(std::max(ofOne[0], ofOne[1]), NO_ERROR);
}

TEST(EventFlagTest, AWaitEndsInTimeWhileThePeerFlipsOtherBits) {
    std::atomic<uint32_t> word{0};
    EventFlag* made = nullptr;
    EventFlag::createEventFlag(&word, &made);
    const OwnedFlag flag(made);
    TestSupport::runWithChangingWord([&flag] {
        uint32_t state = 0;
        EXPECT_EQ(flag->wait(1, &state, 1'000'000, true), -ETIMEDOUT);
        EXPECT_EQ(flag->wait(1, &state, 1'000'000'000'000, false), -EAGAIN);
    });
}

TEST(EventFlagTest, NoWakeIsLostBetweenProcesses) {
    constexpr uint32_t kPing = 1;
    constexpr uint32_t kPong = 1u << 31;
    const unique_fd region(ashmem_create_region("flag", 4096 + 8));
    const auto playRounds = [&region](uint32_t awaited, uint32_t answer) {
        constexpr int64_t kLongTime = 20'000'000'000;
        const OwnedFlag flag = flagIn(region, 4096 + 4);
        if (awaited == kPong) flag->wake(kPing);
        for (int i = 0; i < 30'000; ++i) {
            uint32_t state = 0;
            if (flag->wait(awaited, &state, kLongTime, true) != NO_ERROR) return false;
            flag->wake(answer);
        }
        return true;
    };
    const pid_t child = fork();
    if (child == 0) _exit(playRounds(kPing, kPong) ? 0 : 1);
    EXPECT_TRUE(playRounds(kPong, kPing));
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST(EventFlagTest, AWordThatIsNotSafelyInTheRegionIsRefused) {
    const unique_fd region(ashmem_create_region("flag", 8));
    EXPECT_NE(flagIn(region, 4), nullptr);
    for (const off_t offset : {-4, 2, 6, 8, 1 << 30}) {
        EXPECT_EQ(flagIn(region, offset), nullptr) << offset;
    }
    const unique_fd canShrink(memfd_create("flag", MFD_ALLOW_SEALING));
    ASSERT_EQ(ftruncate(canShrink.get(), 4096), 0);
    EXPECT_EQ(flagIn(canShrink, 0), nullptr);
    EXPECT_EQ(flagIn(unique_fd(), 0), nullptr);
}

}  // namespace
}  // namespace moriak_test
