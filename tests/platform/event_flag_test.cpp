// Event flags: which bits a wait takes, how it ends, and that it works across processes.
#include <android-base/unique_fd.h>
#include <cutils/ashmem.h>
#include <fmq/EventFlag.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <memory>

namespace moriak_test {
namespace {

using android::BAD_VALUE;
using android::NO_ERROR;
using android::hardware::EventFlag;

constexpr int64_t kMillisecond = 1'000'000;
constexpr int64_t kLongTime = 20'000 * kMillisecond;

struct Delete {
    void operator()(EventFlag* flag) const { EventFlag::deleteEventFlag(&flag); }
};
using OwnedFlag = std::unique_ptr<EventFlag, Delete>;

OwnedFlag flagOn(std::atomic<uint32_t>& word) {
    EventFlag* flag = nullptr;
    EventFlag::createEventFlag(&word, &flag);
    return OwnedFlag(flag);
}

OwnedFlag flagIn(int fd, off_t offset) {
    EventFlag* flag = nullptr;
    const android::status_t status = EventFlag::createEventFlag(fd, offset, &flag);
    EXPECT_EQ(status == NO_ERROR, flag != nullptr);
    return OwnedFlag(flag);
}

TEST(EventFlagTest, AWaitTakesTheBitsOfItsMaskAndLeavesTheOthers) {
    std::atomic<uint32_t> word{0};
    const OwnedFlag flag = flagOn(word);
    EXPECT_EQ(flag->wake(0b1011), NO_ERROR);
    EXPECT_EQ(flag->wake(0), NO_ERROR);
    uint32_t state = 0;
    EXPECT_EQ(flag->wait(0b0110, &state), NO_ERROR);
    EXPECT_EQ(state, 0b0010u);
    EXPECT_EQ(word, 0b1001u);
}

TEST(EventFlagTest, AWaitEndsWhenItsTimeIsUp) {
    std::atomic<uint32_t> word{0b100};
    const OwnedFlag flag = flagOn(word);
    for (const bool retry : {false, true}) {
        uint32_t state = 7;
        EXPECT_EQ(flag->wait(0b011, &state, kMillisecond, retry), -ETIMEDOUT);
        EXPECT_EQ(state, 0u);
    }
    EXPECT_EQ(word, 0b100u);
}

TEST(EventFlagTest, NoWakeIsLostBetweenProcesses) {
    constexpr uint32_t kPing = 1;
    constexpr uint32_t kPong = 1u << 31;
    constexpr int kRounds = 30'000;
    const auto playRounds = [](EventFlag& flag, uint32_t awaited, uint32_t answer) {
        for (int i = 0; i < kRounds; ++i) {
            uint32_t state = 0;
            if (flag.wait(awaited, &state, kLongTime, true) != NO_ERROR) return false;
            flag.wake(answer);
        }
        return true;
    };

    const android::base::unique_fd fd(ashmem_create_region("flag", 4096 + 8));
    const pid_t child = fork();
    if (child == 0) {
        const OwnedFlag flag = flagIn(fd.get(), 4096 + 4);
        _exit(flag != nullptr && playRounds(*flag, kPing, kPong) ? 0 : 1);
    }
    const OwnedFlag flag = flagIn(fd.get(), 4096 + 4);
    ASSERT_NE(flag, nullptr);
    flag->wake(kPing);
    EXPECT_TRUE(playRounds(*flag, kPong, kPing));
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST(EventFlagTest, AWordThatIsNotSafelyInTheRegionIsRefused) {
    const android::base::unique_fd region(ashmem_create_region("flag", 8));
    EXPECT_NE(flagIn(region.get(), 4), nullptr);
    for (const off_t offset : {-4, 2, 6, 8, 1 << 30}) {
        EXPECT_EQ(flagIn(region.get(), offset), nullptr) << offset;
    }
    const android::base::unique_fd canShrink(memfd_create("flag", MFD_ALLOW_SEALING));
    ASSERT_EQ(ftruncate(canShrink.get(), 4096), 0);
    EXPECT_EQ(flagIn(canShrink.get(), 0), nullptr);
    EXPECT_EQ(flagIn(-1, 0), nullptr);
}

}  // namespace
}  // namespace moriak_test
