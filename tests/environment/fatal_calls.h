// Tables of calls that end the process.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace TestSupport {

struct FatalCall {
    std::function<void()> call;
    std::string text;
};

/// Each call is a control call that was refused; `text` is the message.
inline void expectFatalRefusals(const std::vector<FatalCall>& calls) {
    for (const FatalCall& fatal : calls) {
        EXPECT_DEATH(fatal.call(),
                     ::testing::HasSubstr("Assertion failed: hidlReturn != Hidl::Result::SUCCESS\n"
                                          "F/Moriak-HidlWrapper: " +
                                          fatal.text + "\n"));
    }
}

/// Each call could not be delivered; `text` is the signature, whose type or scope it leaves out
/// from `virtual` on to the class.
inline void expectFatalTransport(const std::string& scope, const std::vector<FatalCall>& calls) {
    for (const FatalCall& fatal : calls) {
        const size_t name = fatal.text.find(' ') + 1;
        const std::string signature = "virtual " + fatal.text.substr(0, name) +
                                      "Vek::Sensors::HidlWrapper::" + scope +
                                      "::" + fatal.text.substr(name);
        EXPECT_DEATH(fatal.call(),
                     ::testing::AllOf(::testing::HasSubstr("F/Moriak-HidlWrapper: HIDL error in " +
                                                           signature + ": "),
                                      ::testing::HasSubstr("DEAD_OBJECT")));
    }
}

}  // namespace TestSupport
