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
    /// @return an error message; empty on success
    virtual std::string registerServices() = 0;

    /// Ends all sampling, permanently.
    virtual void stop() = 0;

    /// Summary for the user of what the devices have done so far, in lines.
    virtual std::vector<std::string> summary() const = 0;
};

}  // namespace Simulator
