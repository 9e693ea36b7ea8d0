// Writes text for people, or one JSON object per line for programs.
#include "diagnostics.h"

#include <android/log.h>
#include <fmt/format.h>

#include <cstdio>

#include "output.h"
#include "table.h"

namespace {

/// Called on any thread.
void logErrors(const __android_log_message* line) {
    if (line->priority < ANDROID_LOG_ERROR) {
        return;
    }
    if (Output::isJson()) {
        const Json object{{"log", {{"tag", line->tag}, {"message", line->message}}}};
        fmt::print(stderr, "{}\n", Output::jsonLine(object));
    } else {
        __android_log_stderr_logger(line);
    }
}

}  // namespace

void Diagnostics::filterLog(bool isVerbose) {
    __android_log_set_logger(isVerbose ? __android_log_stderr_logger : logErrors);
}

void Diagnostics::report(const std::exception& error, ExitCode exitCode) {
    if (Output::isJson()) {
        const Json object{
            {"error", {{"message", error.what()}, {"exit_code", static_cast<int>(exitCode)}}}};
        fmt::print(stderr, "{}\n", Output::jsonLine(object));
    } else {
        fmt::print(stderr, "sensorctl: {}\n", error.what());
    }
}
