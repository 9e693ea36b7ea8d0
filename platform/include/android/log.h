// Log lines: priority, tag, text.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

typedef enum android_LogPriority {
    ANDROID_LOG_UNKNOWN = 0,
    ANDROID_LOG_DEFAULT,
    ANDROID_LOG_VERBOSE,
    ANDROID_LOG_DEBUG,
    ANDROID_LOG_INFO,
    ANDROID_LOG_WARN,
    ANDROID_LOG_ERROR,
    ANDROID_LOG_FATAL,
    ANDROID_LOG_SILENT,
} android_LogPriority;

struct __android_log_message {
    size_t struct_size;
    int32_t buffer_id;
    int32_t priority;
    const char* tag;
    const char* file;
    uint32_t line;
    const char* message;
};

/** Receives every log line. Called on the thread that logs, so possibly on several at once. */
typedef void (*__android_logger_function)(const struct __android_log_message* message);

/** The default logger: writes "E/Tag: text" to standard error. */
void __android_log_stderr_logger(const struct __android_log_message* message);
void __android_log_set_logger(__android_logger_function logger);

/** The buffers of the platform's log. The host layer does not distinguish them. */
typedef enum log_id { LOG_ID_MAIN = 0 } log_id_t;

int __android_log_write(int priority, const char* tag, const char* text);
int __android_log_buf_print(int buffer, int priority, const char* tag, const char* format, ...)
    __attribute__((__format__(printf, 4, 5)));

/**
 * Logs at priority FATAL and aborts.
 * @param condition the expression that was true, or null. It is logged on a line of its own,
 *        "Assertion failed: <condition>", before the message.
 * @param format of the message, or null
 */
[[noreturn]] void __android_log_assert(const char* condition, const char* tag, const char* format,
                                       ...) __attribute__((__format__(printf, 3, 4)));

}  // extern "C"
