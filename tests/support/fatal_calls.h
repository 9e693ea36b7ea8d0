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
    return "F/Moriak-HidlWrapper: Assertion failed: " + condition +
           "\nF/Moriak-HidlWrapper: " + message + "\n";
}

/// Of constructors that are given no service.
inline const std::string kNullPointer =
    "GSL Precondition failure at external/Microsoft-GSL/include/gsl/pointers: 83 `ptr_ != nullptr`";

/// A client's call that ends the process if the service does not get it.
struct HalCall {
    /// Of the signature in the log, which lies in a class of the library.
    std::string type;
    std::string function;
    std::function<void()> call;
    /// What the service's refusal leads to; empty if the call takes that.
    std::string refusal = {};
    std::string condition = "hidlReturn != Hidl::Result::SUCCESS";
};

/// @param scope stands before all of the functions.
/// @param refused what the service answers where it refuses; IGNORED is what some other calls
/// accept
template <typename Service>
void expectFatal(Service& service, const std::string& scope, const std::vector<HalCall>& calls,
                 decltype(Service::result) refused = decltype(Service::result)::IGNORED) {
    for (const auto& [type, function, call, refusal, condition] : calls) {
        service.transportFails = true;
        EXPECT_DEATH(call(), ::testing::HasSubstr("F/Moriak-HidlWrapper: HIDL error in virtual " +
                                                  type + "Vek::Sensors::HidlWrapper::" + scope +
                                                  function + ": Status("));
        service.transportFails = false;
        if (!refusal.empty()) {
            service.result = refused;
            EXPECT_DEATH(call(), ::testing::HasSubstr(assertion(condition, refusal)));
            service.result = decltype(service.result)::SUCCESS;
        }
    }
}

}  // namespace TestSupport
