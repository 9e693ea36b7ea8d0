// The registration of services that must be the only ones of their kind.
#pragma once

#include <fmt/format.h>

#include <cstring>
#include <string>

#include "hal.h"

namespace Simulator {

/// @return what went wrong; empty if nothing did
template <typename Interface>
std::string registerAlone(const android::sp<Interface>& service) {
    if (Interface::tryGetService("default") != nullptr) {
        return fmt::format("{}/default is offered by another process already",
                           Interface::descriptor);
    }
    const android::status_t status = service->registerAsService("default");
    return status == android::OK ? ""
                                 : fmt::format("cannot register {}/default: {}",
                                               Interface::descriptor, std::strerror(-status));
}

}  // namespace Simulator
