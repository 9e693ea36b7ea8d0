// Log lines on standard error, or wherever a program wants them.
#include <log/log.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr int kDefaultBuffer = 0;

std::atomic<__android_logger_function> logger{__android_log_stderr_logger};

void writeLine(int buffer, int priority, const char* tag, const char* text) {
    const __android_log_message message{
        sizeof(message), buffer, priority, tag == nullptr ? "" : tag, nullptr, 0, text};
    logger.load()(&message);
}

/** As long as a line of the platform's log at the most. */
struct FormattedText {
    char text[4096];

    FormattedText(const char* format, va_list arguments) {
        vsnprintf(text, sizeof(text), format, arguments);
    }
};

[[noreturn]] void failAssertion(int buffer, const char* condition, const char* tag,
                                const char* format, va_list arguments) {
    if (condition != nullptr) {
        const std::string line = std::string("Assertion failed: ") + condition;
        writeLine(buffer, ANDROID_LOG_FATAL, tag, line.c_str());
    }
    if (format != nullptr) {
        writeLine(buffer, ANDROID_LOG_FATAL, tag, FormattedText(format, arguments).text);
    }
    abort();
}

}  // namespace

void __android_log_stderr_logger(const __android_log_message* message) {
    constexpr char kPriorities[] = "??VDIWEFS";
    const bool isKnown = message->priority >= 0 && message->priority <= ANDROID_LOG_SILENT;
    std::string line{isKnown ? kPriorities[message->priority] : '?'};
    line.append("/").append(message->tag).append(": ").append(message->message).append("\n");
    // One write, so that the lines of several threads and processes do not mix.
    static_cast<void>(!write(STDERR_FILENO, line.data(), line.size()));
}

void __android_log_set_logger(__android_logger_function newLogger) {
    logger = newLogger;
}

int __android_log_buf_write(int buffer, int priority, const char* tag, const char* text) {
    writeLine(buffer, priority, tag, text);
    return 1;
}

int __android_log_write(int priority, const char* tag, const char* text) {
    return __android_log_buf_write(kDefaultBuffer, priority, tag, text);
}

int __android_log_buf_print(int buffer, int priority, const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const FormattedText formatted(format, arguments);
    va_end(arguments);
    return __android_log_buf_write(buffer, priority, tag, formatted.text);
}

int __android_log_print(int priority, const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const FormattedText formatted(format, arguments);
    va_end(arguments);
    return __android_log_write(priority, tag, formatted.text);
}

void __android_log_buf_assert(int buffer, const char* condition, const char* tag,
                              const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    failAssertion(buffer, condition, tag, format, arguments);
}

void __android_log_assert(const char* condition, const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    failAssertion(kDefaultBuffer, condition, tag, format, arguments);
}
