// What the services of all HAL interfaces have in common.
#pragma once

#include <fmq/MessageQueue.h>
#include <log/log.h>

#include <memory>
#include <tuple>
#include <utility>

#include "calls.h"
#include "client_identity.h"
#include "faults.h"
#include "hal.h"

namespace Simulator {

using android::hardware::Return;
using android::hardware::Void;

/// Descriptor of a queue that a client has made.
template <typename Record>
using ClientQueue = android::hardware::MQDescriptorSync<Record>;

/// Base of services of a HAL interface. Faults are added by makeService.
template <typename HalInterface>
class Service : public HalInterface {
  public:
    using Interface = HalInterface;
};

/// Applies faults to the calls of a service. A fault never fails the transport, because generated
/// code of the client would end its process.
template <typename Implementation>
class WithFaults : public Implementation {
  public:
    template <typename... Arguments>
    explicit WithFaults(std::shared_ptr<Faults> faults, Arguments&&... arguments)
        : Implementation(std::forward<Arguments>(arguments)...), callFaults_(std::move(faults)) {}

  protected:
    /// @param proceed makes the call, given its arguments
    template <auto method, typename Proceed, typename... Arguments>
    auto onCall(const Proceed& proceed, Arguments&... arguments) const
        -> decltype(proceed(arguments...)) {
        constexpr CallKind kind = kindOf<method>();
        const Hidl::Result fault =
            callFaults_->beginCall(HalTable::kMethodName<method>, callingProcess());
        if constexpr (kind != CallKind::INFALLIBLE) {
            if (fault != Hidl::Result::SUCCESS) {
                using Answer = HalTable::AnswerOf<method>;
                return answer<kind, Answer>(fault, proceed, arguments...);
            }
        }
        return proceed(arguments...);
    }

  private:
    static Hidl::Result withFault(Hidl::Result fault, Hidl::Result result) {
        return result == Hidl::Result::SUCCESS ? fault : result;
    }
    static bool withFault(Hidl::Result /*fault*/, bool /*success*/) { return false; }
    template <typename Other>
    static const Other& withFault(Hidl::Result /*fault*/, const Other& value) {
        return value;
    }

    template <typename Value>
    static constexpr bool kIsResult =
        std::is_same_v<Value, Hidl::Result> || std::is_same_v<Value, bool>;
    /// Whether the callback has a Result, as its first or its last argument.
    template <typename Answer>
    static constexpr bool kHasResult =
        kIsResult<std::tuple_element_t<0, Answer>> ||
        kIsResult<std::tuple_element_t<std::tuple_size_v<Answer> - 1, Answer>>;

    template <CallKind kind, typename Answer, typename Proceed, typename... Arguments>
    static auto answer(Hidl::Result fault, const Proceed& proceed, Arguments&... arguments)
        -> decltype(proceed(arguments...)) {
        if constexpr (!std::is_same_v<decltype(proceed(arguments...)), Return<void>>) {
            return withFault(fault, std::tuple_element_t<0, Answer>{});
        } else {
            const auto& callback = std::get<sizeof...(arguments) - 1>(std::tie(arguments...));
            if constexpr (kind == CallKind::GETTER && kHasResult<Answer>) {
                std::decay_t<decltype(callback)> wrapped = [&](const auto&... values) {
                    callback(withFault(fault, values)...);
                };
                return std::apply(
                    proceed, std::tuple_cat(allButLast(std::tie(arguments...)), std::tie(wrapped)));
            } else {
                std::apply([&](const auto&... none) { callback(withFault(fault, none)...); },
                           Answer{});
                return Void();
            }
        }
    }

    template <typename... Arguments>
    static auto allButLast(const std::tuple<Arguments...>& arguments) {
        return allButLast(arguments, std::make_index_sequence<sizeof...(Arguments) - 1>{});
    }
    template <typename Tuple, size_t... indices>
    static auto allButLast(const Tuple& arguments, std::index_sequence<indices...> /*indices*/) {
        return std::tie(std::get<indices>(arguments)...);
    }

    const std::shared_ptr<Faults> callFaults_;
};

/// @param arguments of the constructor of `Implementation`
template <typename Implementation, typename... Arguments>
android::sp<Implementation> makeService(std::shared_ptr<Faults> faults, Arguments&&... arguments) {
    using Interface = typename Implementation::Interface;
    return new HalTable::EveryMethod<WithFaults<Implementation>, Interface>(
        std::move(faults), std::forward<Arguments>(arguments)...);
}

}  // namespace Simulator
