// The calls that the service answers, out of the HAL's table of methods, and how each can fail.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/methods.h>

#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "hal.h"

namespace Simulator {

enum class CallKind {
    /// Can be refused: does nothing then, and says so.
    CONTROL,
    /// Can answer with an error and with its data all the same, or with nothing if it has no
    /// result.
    GETTER,
    /// Has no answer.
    INFALLIBLE,
};

template <auto method, auto... methods>
constexpr bool isOneOf(HalTable::MethodList<methods...> /*list*/) {
    constexpr std::string_view name = HalTable::kMethodName<method>;
    return ((name == HalTable::kMethodName<methods>) || ...);
}

/// Nobody can be told that one of these failed. A new method without an answer is added here.
using CallsWithoutAnswer = HalTable::MethodList<
    &Hidl::ICameraStream::setExposureGain, &Hidl::ICameraStream::setPhaseOffset,
    &Hidl::IControllerManagementClient::release, &Hidl::IControllerStreamingClient::release,
    &Hidl::IControllerStreamingClient::enable, &Hidl::IControllerStreamingClient::disable>;

template <auto method>
constexpr CallKind kindOf() {
    using Answer = HalTable::AnswerOf<method>;
    constexpr bool hasAnswer = std::tuple_size_v<Answer> != 0;
    static_assert(hasAnswer != isOneOf<method>(CallsWithoutAnswer{}));
    if constexpr (hasAnswer) {
        using First = std::tuple_element_t<0, Answer>;
        constexpr std::string_view name = HalTable::kMethodName<method>;
        constexpr bool saysWhether =
            std::is_same_v<First, Hidl::Result> || std::is_same_v<First, bool>;
        return saysWhether && name.find(".get") == std::string_view::npos ? CallKind::CONTROL
                                                                          : CallKind::GETTER;
    }
    return CallKind::INFALLIBLE;
}

struct Call {
    /// "Interface.method".
    const char* name;
    CallKind kind;
};

/// In the order of their names' interfaces and of the methods of each.
const std::vector<Call>& allCalls();

/// The names of the calls of one kind.
std::vector<std::string_view> callsOf(CallKind kind);

}  // namespace Simulator
