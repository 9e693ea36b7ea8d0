#include "controller/controller_text.h"

#include <fmt/format.h>

#include <cstdint>

#include "recording/enum_names.h"

using namespace Vek::Sensors;
using Recording::Named;
using Recording::nameIn;

namespace {

constexpr Named<ControllerType> kTypes[] = {
    {ControllerType::HANDHELD, "handheld"},
    {ControllerType::STYLUS, "stylus"},
};
constexpr Named<ControllerHand> kHands[] = {
    {ControllerHand::UNSPECIFIED, "-"},
    {ControllerHand::LEFT, "left"},
    {ControllerHand::RIGHT, "right"},
};
constexpr Named<ControllerConnection> kConnections[] = {
    {ControllerConnection::DISCONNECTED, "disconnected"},
    {ControllerConnection::CONNECTING, "connecting"},
    {ControllerConnection::CONNECTED, "connected"},
    {ControllerConnection::ASLEEP, "asleep"},
};
constexpr Named<ControllerResult> kResults[] = {
    {ControllerResult::SUCCESS, "success"},
    {ControllerResult::FAILURE, "failure"},
    {ControllerResult::BAD_STATE, "bad state"},
    {ControllerResult::IGNORED, "ignored"},
};

}  // namespace

std::string text(ControllerAddr address) {
    return fmt::format("{:#x}", static_cast<uint64_t>(address));
}

std::string text(ControllerType type) {
    return nameIn(kTypes, type, "type");
}

std::string text(ControllerHand hand) {
    return nameIn(kHands, hand, "hand");
}

std::string text(ControllerConnection connection) {
    return nameIn(kConnections, connection, "connection");
}

std::string text(ControllerResult result) {
    return nameIn(kResults, result, "result");
}
