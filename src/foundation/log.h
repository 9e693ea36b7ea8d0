// The library's log lines and fatal assertions.
#pragma once

#include <log/log.h>

/// Exported by the log library, but declared in no published header.
extern "C" [[noreturn]] void __android_log_buf_assert(int buffer, const char* condition,
                                                      const char* tag, const char* format, ...)
    __attribute__((__format__(printf, 4, 5)));

namespace Vek::Sensors::HidlWrapper {

inline constexpr char kLogTag[] = "Moriak-HidlWrapper";
inline constexpr int kLogBuffer = 16;

}  // namespace Vek::Sensors::HidlWrapper

#define MORIAK_LOG_INFO(...)                                                           \
    static_cast<void>(__android_log_buf_print(::Vek::Sensors::HidlWrapper::kLogBuffer, \
                                              ANDROID_LOG_INFO,                        \
                                              ::Vek::Sensors::HidlWrapper::kLogTag, __VA_ARGS__))

#define MORIAK_LOG_WARN(...)                                                           \
    static_cast<void>(__android_log_buf_print(::Vek::Sensors::HidlWrapper::kLogBuffer, \
                                              ANDROID_LOG_WARN,                        \
                                              ::Vek::Sensors::HidlWrapper::kLogTag, __VA_ARGS__))

#define MORIAK_LOG_ERROR(...)                                                          \
    static_cast<void>(__android_log_buf_print(::Vek::Sensors::HidlWrapper::kLogBuffer, \
                                              ANDROID_LOG_ERROR,                       \
                                              ::Vek::Sensors::HidlWrapper::kLogTag, __VA_ARGS__))

/// Ends the process with a formatted message.
#define MORIAK_FATAL(...) MORIAK_FATAL_FOR(nullptr, __VA_ARGS__)

/// Ends the process with a formatted message if the condition holds. The condition's text, as it
/// is spelled in the call, goes to the crash record.
#define MORIAK_FATAL_IF(condition, ...)                \
    do {                                               \
        if (__builtin_expect(!!(condition), false)) {  \
            MORIAK_FATAL_FOR(#condition, __VA_ARGS__); \
        }                                              \
    } while (false)

#define MORIAK_FATAL_FOR(conditionText, ...)                                             \
    do {                                                                                 \
        __android_log_buf_assert(::Vek::Sensors::HidlWrapper::kLogBuffer, conditionText, \
                                 ::Vek::Sensors::HidlWrapper::kLogTag, __VA_ARGS__);     \
        __builtin_trap();                                                                \
    } while (false)
