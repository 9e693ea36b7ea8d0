// The registration of services that must be the only ones of their kind.
#pragma once

#include <fmt/format.h>

#include <cstring>
#include <string>

#include "hal.h"

namespace Simulator {

/// Registers the service as "default" unless one runs already. @return an error message; empty on
/// success
template <typename Service>
std::string registerAlone(const android::sp<Service>& service) {
    if (Service::tryGetService("default") != nullptr) {
        return fmt::format("{}/default is offered by another process already", Service::descriptor);
    }
    const android::status_t status = service->registerAsService("default");
    return status == android::OK ? ""
                                 : fmt::format("cannot register {}/default: {}",
                                               Service::descriptor, std::strerror(-status));
}

/// Registers them one after the other, until one fails.
template <typename... Services>
std::string registerAlone(const android::sp<Services>&... services) {
    std::string problem;
    ((problem = problem.empty() ? registerAlone(services) : problem), ...);
    return problem;
}

}  // namespace Simulator
