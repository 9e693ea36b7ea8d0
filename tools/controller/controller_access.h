// Looks up controllers and their services for commands.
#pragma once

#include <vek/sensors/controller_provider.h>

#include <memory>
#include <string>

/// Throws Failure if no service runs; the provider's constructor would end the process.
std::shared_ptr<Vek::Sensors::IControllerProvider> requireControllers();

/// Throws Failure if the service returns none.
std::unique_ptr<Vek::Sensors::IControllerManagementClient> requireManagementClient(
    Vek::Sensors::IControllerProvider& provider);

/// @param key the address or the name of the controller, as tables show them. These two throw
/// Failure if there is no such controller.
Vek::Sensors::PairedControllerInfo findPaired(Vek::Sensors::IControllerProvider& provider,
                                              const std::string& key);
Vek::Sensors::AdvertisingControllerInfo findAdvertising(
    Vek::Sensors::IControllerManagementClient& client, const std::string& key);
