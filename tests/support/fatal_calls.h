// Tables of calls that end the process.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace TestSupport {

struct FatalCall {
    /// What the log must hold.
    std::string text;
    std::function<void()> call;
};

inline void expectFatal(const std::vector<FatalCall>& calls) {
    for (const FatalCall& fatal : calls) {
        EXPECT_DEATH(fatal.call(), ::testing::HasSubstr(fatal.text));
    }
}

inline std::string assertion(const std::string& condition, const std::string& message) {
    return "Assertion failed: " + condition + "\nF/Moriak-HidlWrapper: " + message + "\n";
}

/// @param scope class and two colons
inline std::string transportError(const std::string& type, const std::string& scope,
                                  const std::string& method) {
    return "F/Moriak-HidlWrapper: HIDL error in virtual " + type +
           "Vek::Sensors::HidlWrapper::" + scope + method + ": Status(";
}

}  // namespace TestSupport
