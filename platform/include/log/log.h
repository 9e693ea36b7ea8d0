// Log macros over android/log.h, with the including file's LOG_TAG as the tag.
#pragma once

#include <android/log.h>

#define ALOGE(...) static_cast<void>(__android_log_print(ANDROID_LOG_ERROR, LOG_TAG, __VA_ARGS__))
#define ALOGW(...) static_cast<void>(__android_log_print(ANDROID_LOG_WARN, LOG_TAG, __VA_ARGS__))
#define ALOGI(...) static_cast<void>(__android_log_print(ANDROID_LOG_INFO, LOG_TAG, __VA_ARGS__))

#define LOG_ALWAYS_FATAL(...) __android_log_assert(nullptr, LOG_TAG, __VA_ARGS__)
#define LOG_ALWAYS_FATAL_IF(condition, ...)                                                        \
    (__builtin_expect((condition), false) ? __android_log_assert(#condition, LOG_TAG, __VA_ARGS__) \
                                          : static_cast<void>(0))
