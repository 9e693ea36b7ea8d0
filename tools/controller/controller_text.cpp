#include "controller/controller_text.h"

#include <fmt/format.h>

#include <cstdint>
#include <initializer_list>
#include <utility>

using namespace Vek::Sensors;

/// @return the name of the value; `kind` and its number if it has none.
template <typename Enum>
static std::string nameOf(Enum value, const char* kind,
                          std::initializer_list<std::pair<Enum, const char*>> names) {
    for (const auto& [named, name] : names) {
        if (named == value) {
            return name;
        }
    }
    return fmt::format("{} {}", kind, static_cast<int64_t>(value));
}

std::string text(ControllerAddr address) {
    return fmt::format("{:#x}", static_cast<uint64_t>(address));
}

std::string text(ControllerType type) {
    return nameOf(type, "type",
                  {{ControllerType::HANDHELD, "handheld"}, {ControllerType::STYLUS, "stylus"}});
}

std::string text(ControllerHand hand) {
    return nameOf(hand, "hand",
                  {{ControllerHand::UNSPECIFIED, "-"},
                   {ControllerHand::LEFT, "left"},
                   {ControllerHand::RIGHT, "right"}});
}

std::string text(ControllerConnection connection) {
    return nameOf(connection, "connection",
                  {{ControllerConnection::DISCONNECTED, "disconnected"},
                   {ControllerConnection::CONNECTING, "connecting"},
                   {ControllerConnection::CONNECTED, "connected"},
                   {ControllerConnection::ASLEEP, "asleep"}});
}

std::string text(ControllerResult result) {
    return nameOf(result, "result",
                  {{ControllerResult::SUCCESS, "success"},
                   {ControllerResult::FAILURE, "failure"},
                   {ControllerResult::BAD_STATE, "bad state"},
                   {ControllerResult::IGNORED, "ignored"}});
}
