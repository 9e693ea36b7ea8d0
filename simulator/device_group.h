// One area of the simulated headset: its devices and the services that offer them.
#pragma once

#include <string>
#include <vector>

namespace Simulator {

class DeviceGroup {
  public:
    DeviceGroup() = default;
    virtual ~DeviceGroup() = default;
    DeviceGroup(const DeviceGroup&) = delete;
    DeviceGroup& operator=(const DeviceGroup&) = delete;

    /// Registers the "default" service of each interface.
    /// @return what went wrong; empty if nothing did
    virtual std::string registerServices() = 0;

    /// Ends all sampling; it cannot be started again.
    virtual void stop() = 0;

    /// Lines for the user about what the devices have done so far.
    virtual std::vector<std::string> summary() const = 0;
};

}  // namespace Simulator
