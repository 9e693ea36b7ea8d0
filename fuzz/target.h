// Common parts of the fuzz targets: their entry point and checks.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>
#include <log/log.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <iterator>
#include <string>

#include "os/always_assert.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace Fuzz {

/// Ends the run if its scope leaves descriptors behind.
class LeakCheck {
  public:
    LeakCheck() = default;
    LeakCheck(const LeakCheck&) = delete;
    LeakCheck& operator=(const LeakCheck&) = delete;
    ~LeakCheck() { VEK_ALWAYS_ASSERT(openDescriptors() == before_ && "descriptors are leaked"); }

  private:
    static ptrdiff_t openDescriptors() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }

    const ptrdiff_t before_ = openDescriptors();
};

/// Thrown in place of the end of the process.
struct FatalAssertion {
    std::string message;
};

/// In a target, fatal assertions are exceptions, and no other log line is of interest.
inline const bool fatalAssertionsThrow = [] {
    __android_log_set_logger([](const __android_log_message* line) {
        const bool isCondition = std::strncmp(line->message, "Assertion failed: ", 18) == 0;
        if (line->priority == ANDROID_LOG_FATAL && !isCondition) {
            throw FatalAssertion{line->message};
        }
    });
    return true;
}();

/// Runs what may end the process with one of these messages, and with no other.
template <typename Run>
void mayBeFatal(std::initializer_list<const char*> beginnings, const Run& run) {
    try {
        run();
    } catch (const FatalAssertion& fatal) {
        for (const char* beginning : beginnings) {
            if (fatal.message.rfind(beginning, 0) == 0) {
                return;
            }
        }
        std::fprintf(stderr, "fatal: %s\n", fatal.message.c_str());
        std::abort();
    }
}

}  // namespace Fuzz
