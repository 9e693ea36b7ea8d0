#include "calls.h"

namespace Simulator {
namespace {

/// Interfaces that clients implement: the service calls them and does not serve them.
using ServedByClients =
    HalTable::TypeList<Hidl::ICameraStreamControlTarget, Hidl::IFrameConfigCallback,
                       Hidl::IProgressUpdateCallback, Hidl::ISensorClient, Hidl::ITambrilCallback>;

template <typename Wanted, typename... Types>
constexpr bool contains(const HalTable::TypeList<Types...> /*types*/) {
    return (std::is_same_v<Wanted, Types> || ...);
}

template <auto... methods>
void addMethods(std::vector<Call>* calls, HalTable::MethodList<methods...> /*list*/) {
    (calls->push_back({HalTable::kMethodName<methods>, kindOf<methods>()}), ...);
}

template <typename Interface>
void addInterface(std::vector<Call>* calls) {
    if constexpr (!contains<Interface>(ServedByClients{})) {
        addMethods(calls, HalTable::MethodsOf<Interface>{});
    }
}

template <typename... Interfaces>
std::vector<Call> collect(const HalTable::TypeList<Interfaces...> /*interfaces*/) {
    std::vector<Call> calls;
    (addInterface<Interfaces>(&calls), ...);
    return calls;
}

}  // namespace

const std::vector<Call>& allCalls() {
    static const std::vector<Call> calls = collect(HalTable::Interfaces{});
    return calls;
}

std::vector<std::string_view> callsOf(CallKind kind) {
    std::vector<std::string_view> names;
    for (const Call& call : allCalls()) {
        if (call.kind == kind) {
            names.emplace_back(call.name);
        }
    }
    return names;
}

}  // namespace Simulator
