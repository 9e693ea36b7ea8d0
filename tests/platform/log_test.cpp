// Log lines: their form, where they go, and what an assertion leaves behind.
#include <gtest/gtest.h>

#define LOG_TAG "Tag"
#include <log/log.h>

#include <csignal>
#include <string>

namespace moriak_test {
namespace {

TEST(LogTest, ALineOnStandardErrorNamesPriorityAndTag) {
    testing::internal::CaptureStderr();
    ALOGE("%d of %s", 3, "four");
    ALOGW("careful");
    __android_log_write(ANDROID_LOG_INFO, "Other", "100%");
    __android_log_write(ANDROID_LOG_VERBOSE, nullptr, "no tag");
    __android_log_buf_print(0, 99, "Tag", "no such priority");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "E/Tag: 3 of four\n"
              "W/Tag: careful\n"
              "I/Other: 100%\n"
              "V/: no tag\n"
              "?/Tag: no such priority\n");
}

TEST(LogDeathTest, AnAssertionLogsConditionAndMessageThenAborts) {
    const testing::KilledBySignal aborted(SIGABRT);
    const int count = 2;
    EXPECT_EXIT(LOG_ALWAYS_FATAL_IF(count > 1, "count=%d", count), aborted,
                "^F/Tag: Assertion failed: count > 1\nF/Tag: count=2\n$");
    EXPECT_EXIT(__android_log_buf_assert(0, "count > 1", "Tag", nullptr), aborted,
                "^F/Tag: Assertion failed: count > 1\n$");
    EXPECT_EXIT(LOG_ALWAYS_FATAL("gone"), aborted, "^F/Tag: gone\n$");
    EXPECT_EXIT(__android_log_buf_assert(0, "a", "Other", "b %s", "c"), aborted,
                "^F/Other: Assertion failed: a\nF/Other: b c\n$");
}

}  // namespace
}  // namespace moriak_test
