// Collects the log lines of a test's scope instead of printing them.
#pragma once

#include <log/log.h>

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace TestSupport {

struct LogLine {
    int priority;
    std::string tag;
    std::string message;

    friend bool operator==(const LogLine& a, const LogLine& b) {
        return a.priority == b.priority && a.tag == b.tag && a.message == b.message;
    }
};

inline LogLine errorLine(std::string message) {
    return {ANDROID_LOG_ERROR, "Moriak-HidlWrapper", std::move(message)};
}

inline LogLine warningLine(std::string message) {
    return {ANDROID_LOG_WARN, "Moriak-HidlWrapper", std::move(message)};
}

/// One at a time.
class CapturedLog {
  public:
    CapturedLog() {
        lines().clear();
        __android_log_set_logger([](const __android_log_message* message) {
            const std::lock_guard lock{mutex()};
            lines().push_back({message->priority, message->tag, message->message});
        });
    }
    ~CapturedLog() { __android_log_set_logger(__android_log_stderr_logger); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    std::vector<LogLine> take() {
        const std::lock_guard lock{mutex()};
        return std::exchange(lines(), {});
    }

  private:
    static std::mutex& mutex() {
        static std::mutex instance;
        return instance;
    }
    static std::vector<LogLine>& lines() {
        static std::vector<LogLine> instance;
        return instance;
    }
};

}  // namespace TestSupport
