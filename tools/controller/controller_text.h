// Texts for properties and states of controllers.
#pragma once

#include <vek/sensors/controller.h>

#include <cstddef>
#include <string>

#include "table.h"

std::string text(Vek::Sensors::ControllerAddr address);
std::string text(Vek::Sensors::ControllerType type);
std::string text(Vek::Sensors::ControllerHand hand);
std::string text(Vek::Sensors::ControllerConnection connection);
std::string text(Vek::Sensors::ControllerResult result);

/// A field of fixed size, printable.
template <size_t Size>
std::string text(const Vek::Sensors::ControllerText<Size>& field) {
    return printable(std::string(Vek::Sensors::textOf(field)));
}
