// What the table of a HAL package's methods consists of. The table itself, `methods.h` in the
// package's directory, is made out of the interface definitions when the package is built. It also
// has a macro HAL_QUEUED_RECORDS(X): X(Record) for each kind of record that clients hand a queue over
// for.
#pragma once

#include <hidl/Status.h>

#include <functional>
#include <tuple>
#include <type_traits>

namespace HalTable {

/// "Interface.method".
template <auto method>
inline constexpr const char* kMethodName = nullptr;

template <auto... methods>
struct MethodList {};

template <typename... Types>
struct TypeList {};

/// The methods of an interface: a MethodList.
template <typename Interface>
struct MethodsOf;

/// `Type` is the class that calls the interface's methods in another process.
template <typename Interface>
struct ProxyOf;

/// Overrides all methods of an interface, and hands each call to
/// `Base::onCall<method>(proceed, arguments...)`. `proceed(arguments...)` is Base's own method.
template <typename Base, typename Interface>
class EveryMethod;

/// `Function` has the signature of a method; `Answer` are the values that it answers with: the one
/// that it returns, or those that it gives to the function that is its last argument.
template <typename Method>
struct Signature;

template <typename Last>
struct CallbackValues {
    using Type = std::tuple<>;
};
template <typename... Values>
struct CallbackValues<std::function<void(Values...)>> {
    using Type = std::tuple<std::decay_t<Values>...>;
};

template <typename Interface, typename Value, typename... Parameters>
struct Signature<android::hardware::Return<Value> (Interface::*)(Parameters...)> {
    using Function = std::function<android::hardware::Return<Value>(Parameters...)>;
    using Answer = std::tuple<Value>;
};
template <typename Interface, typename... Parameters>
struct Signature<android::hardware::Return<void> (Interface::*)(Parameters...)> {
    using Function = std::function<android::hardware::Return<void>(Parameters...)>;
    using Answer = typename CallbackValues<
        std::tuple_element_t<sizeof...(Parameters), std::tuple<void, Parameters...>>>::Type;
};

template <auto method>
using AnswerOf = typename Signature<decltype(method)>::Answer;

}  // namespace HalTable
