// Log lines: their form, where they go, and what an assertion leaves behind.
#include <gtest/gtest.h>

#define LOG_TAG "Tag"
#include <log/log.h>

#include <csignal>

#include "transport/PeerLog.h"

namespace {

TEST(LogDeathTest, LinesNamePriorityAndTagAndAnAssertionItsConditionBeforeTheProcessAborts) {
    EXPECT_EXIT(
        {
            ALOGE("%d of %s", 3, "four");
            __android_log_write(ANDROID_LOG_INFO, nullptr, "100%");
            ALOGE("\x1b[2J\tforged\nF/Other: line\xc2\x9b \xc3\x9f");
            __android_log_buf_print(0, 99, "Other", "no such priority");
            LOG_ALWAYS_FATAL_IF(3 > 2, "count=%d", 3);
        },
        testing::KilledBySignal(SIGABRT),
        "^E/Tag: 3 of four\nI/: 100%\n"
        "E/Tag: \\\\x1b\\[2J\tforged\\\\x0aF/Other: line\\\\xc2\x9b \xc3\x9f\n\\?/Other: no such "
        "priority\n"
        "F/Tag: Assertion failed: 3 > 2\nF/Tag: count=3\n$");
    EXPECT_DEATH(LOG_ALWAYS_FATAL("gone"), "^F/Tag: gone\n$");
    EXPECT_DEATH(__android_log_assert("a", "Other", nullptr), "^F/Other: Assertion failed: a\n$");
}

TEST(PeerLogTest, AThousandLinesComeAtOnceThenAFewThatCountTheOthers) {
    EXPECT_EXIT(
        {
            static size_t written = 0;
            static size_t leftOut = 0;
            static size_t reports = 0;
            __android_log_set_logger([](const __android_log_message* line) {
                size_t count = 0;
                const bool isReport =
                    sscanf(line->message, "%zu lines about peers were left out", &count) == 1;
                leftOut += count;
                ++(isReport ? reports : written);
            });
            size_t lines = 0;
            for (; reports < 2 && lines < 1'000'000'000; ++lines) {
                android::hardware::details::logOfPeer("line");
            }
            const bool isBounded = written > 1000 && written < 1100;
            _exit(isBounded && written + leftOut == lines ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
