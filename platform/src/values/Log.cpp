// Log lines on standard error, or wherever a program wants them.
#include <log/log.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

std::atomic<__android_logger_function> logger{__android_log_stderr_logger};

void writeLine(int buffer, int priority, const char* tag, const char* text) {
    const __android_log_message message{
        sizeof(message), buffer, priority, tag == nullptr ? "" : tag, nullptr, 0, text};
    logger.load()(&message);
}

void writeLine(int buffer, int priority, const char* tag, const char* format, va_list arguments) {
    char text[4096];  // maximum length of a line in the platform's log
    vsnprintf(text, sizeof(text), format, arguments);
    writeLine(buffer, priority, tag, text);
}

[[noreturn]] void die(int buffer, const char* condition, const char* tag, const char* format,
                      va_list arguments) {
    if (condition != nullptr) {
        const std::string line = std::string("Assertion failed: ") + condition;
        writeLine(buffer, ANDROID_LOG_FATAL, tag, line.c_str());
    }
    if (format != nullptr) writeLine(buffer, ANDROID_LOG_FATAL, tag, format, arguments);
    abort();
}

/**
 * Appends the text as one line, without control characters that a terminal would obey: the text may
 * come from a peer.
 */
void appendPrintable(std::string& line, const char* text) {
    for (; *text != '\0'; ++text) {
        const auto byte = static_cast<unsigned char>(*text);
        // In UTF-8, 0xc2 followed by 0x80 to 0x9f is a control character, too.
        const bool isSecondOfTwo = byte == 0xc2 && static_cast<unsigned char>(text[1]) >= 0x80 &&
                                   static_cast<unsigned char>(text[1]) < 0xa0;
        if ((byte >= 0x20 && byte != 0x7f && !isSecondOfTwo) || byte == '\t') {
            line.push_back(*text);
            continue;
        }
        char escaped[sizeof("\\x00")];
        snprintf(escaped, sizeof(escaped), "\\x%02x", byte);
        line.append(escaped);
    }
}

}  // namespace

void __android_log_stderr_logger(const __android_log_message* message) {
    constexpr char kPriorities[] = "??VDIWEFS";
    const bool isKnown = message->priority >= 0 && message->priority <= ANDROID_LOG_SILENT;
    std::string line{isKnown ? kPriorities[message->priority] : '?'};
    line.push_back('/');
    appendPrintable(line, message->tag);
    line.append(": ");
    appendPrintable(line, message->message);
    line.push_back('\n');
    // A single write, so that lines of several threads and processes are not mixed.
    static_cast<void>(!write(STDERR_FILENO, line.data(), line.size()));
}

void __android_log_set_logger(__android_logger_function newLogger) {
    logger = newLogger;
}

int __android_log_write(int priority, const char* tag, const char* text) {
    writeLine(LOG_ID_MAIN, priority, tag, text);
    return 1;
}

int __android_log_buf_print(int buffer, int priority, const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    writeLine(buffer, priority, tag, format, arguments);
    va_end(arguments);
    return 1;
}

void __android_log_assert(const char* condition, const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    die(LOG_ID_MAIN, condition, tag, format, arguments);
}

/** Exported as by the device's log library, which declares it in no header either. */
extern "C" [[noreturn]] void __android_log_buf_assert(int buffer, const char* condition,
                                                      const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    die(buffer, condition, tag, format, arguments);
}
