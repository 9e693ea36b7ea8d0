// Log macros over android/log.h, with the including file's LOG_TAG as the tag.
#pragma once

#include <android/log.h>

#define MORIAK_LOG_LINE(priority, ...) \
    static_cast<void>(__android_log_buf_print(LOG_ID_MAIN, priority, LOG_TAG, __VA_ARGS__))
#define ALOGE(...) MORIAK_LOG_LINE(ANDROID_LOG_ERROR, __VA_ARGS__)
#define ALOGW(...) MORIAK_LOG_LINE(ANDROID_LOG_WARN, __VA_ARGS__)
#define ALOGI(...) MORIAK_LOG_LINE(ANDROID_LOG_INFO, __VA_ARGS__)

#define LOG_ALWAYS_FATAL(...) __android_log_assert(nullptr, LOG_TAG, __VA_ARGS__)
#define LOG_ALWAYS_FATAL_IF(condition, ...)                                                        \
    (__builtin_expect((condition), false) ? __android_log_assert(#condition, LOG_TAG, __VA_ARGS__) \
                                          : static_cast<void>(0))
