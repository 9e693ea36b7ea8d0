// The calls that the service serves, taken from the HAL's table of methods, and how each can fail.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/methods.h>

#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "hal.h"

namespace Simulator {

enum class CallKind {
    /// Can be refused: it then does nothing and returns an error.
    CONTROL,
    /// Can return an error together with its data. A getter without a Result returns no data
    /// instead.
    GETTER,
    /// Cannot fail, because it returns nothing.
    INFALLIBLE,
};

template <auto method, auto... methods>
constexpr bool isOneOf(HalTable::MethodList<methods...> /*list*/) {
    constexpr std::string_view name = HalTable::kMethodName<method>;
    return ((name == HalTable::kMethodName<methods>) || ...);
}

/// Methods that cannot report a failure. A new method without a result must be added here.
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

/// Ordered by interface name, then by declaration.
const std::vector<Call>& allCalls();

/// The names of the calls of one kind.
std::vector<std::string_view> callsOf(CallKind kind);

}  // namespace Simulator
