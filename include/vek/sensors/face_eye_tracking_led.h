// The infrared illuminators of the face and eye tracking cameras.
#pragma once

#include <cstdint>
#include <vector>

namespace Vek::Sensors {

/// The illuminators that one camera or pair of cameras needs.
enum class FaceEyeTrackingLedGroup : uint32_t {
    LEFT_EYE = 0,
    RIGHT_EYE = 1,
    FACE = 2,
};

/// The setting of one LED (16 bytes). The ranges depend on the device; the service refuses values
/// outside of them.
struct FaceEyeTrackingLedConfiguration {
    FaceEyeTrackingLedGroup group;
    /// Number of the LED in its group, from 0.
    uint32_t channel;
    /// Current while the LED is lit, in uA; up to 100,000 at the simulated service.
    uint32_t current;
    /// How long the LED is lit in each exposure of the camera, in us; up to 2,000 at the simulated
    /// service.
    uint32_t pulseWidth;
};

/// Sets and switches the LEDs, which the service controls unless a client overrides it.
///
/// The object keeps no state of the LEDs, and its destruction changes nothing. Only the object that
/// began an override can end it: an object that is destroyed before leaves the LEDs overridden
/// until its process ends. A call that cannot be delivered ends the process. Threading: no locks;
/// each operation is one call of the service and may come from any thread.
class IFaceEyeTrackingLed {
  public:
    /// Sets several LEDs in one call.
    /// @return true also, with a warning in the log, if the service ignored the configurations
    /// (because it controls the LEDs itself); false, with an error in the log, if it refused them.
    virtual bool setConfigs(std::vector<FaceEyeTrackingLedConfiguration> configurations) = 0;

    /// Switches the LEDs on.
    /// @return true also, with a warning in the log, if they are on already.
    virtual bool enable() = 0;

    /// Switches the LEDs off.
    /// @return true also, with a warning in the log, if they are off already.
    virtual bool disable() = 0;

    /// @return the number of the group's LEDs; 0 for a group that the device lacks.
    virtual uint8_t getNumChannels(FaceEyeTrackingLedGroup group) = 0;

    /// Disables the service's own control of the LEDs, for one object at a time.
    /// @return true only if this call did so; false if this or another object had already.
    virtual bool startOverridingLedSettings() = 0;

    /// Re-enables the service's own control of the LEDs.
    /// @return false if this object had not disabled it.
    virtual bool stopOverridingLedSettings() = 0;

    // Declared last, as in the virtual table that programs are built against.
    virtual ~IFaceEyeTrackingLed() = default;
};

}  // namespace Vek::Sensors
