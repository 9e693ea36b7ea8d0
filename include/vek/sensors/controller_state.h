// Hand controllers, for the program that owns their state.
#pragma once

#include <vek/sensors/controller_records.h>
#include <vek/sensors/stream.h>

#include <cstdint>

namespace Vek::Sensors {

/// The owner's side of the controller link: takes haptics, radio state and inputs from the service
/// and gives it poses.
///
/// The streams belong to this object. Starting and stopping one ends the process if the service
/// refuses or cannot be reached; the pose stream's calls then abort even if crash dumps are
/// suppressed (see suppressTransportCrashDumps). The library does not track which streams run: a
/// second start sends a second command. Destruction sends nothing, so stop the streams first.
///
/// Threading: commands may come from any thread; sendPose from one thread at a time.
class IControllerStateProvider {
  public:
    virtual ~IControllerStateProvider() = default;

    virtual IDataStream<HapticsState>& streamHapticsState() = 0;
    virtual IDataStream<WirelessStateTransition>& streamWirelessStateTransition() = 0;
    virtual IDataStream<ControllerInputData>& streamControllerInputData() = 0;

    virtual void startHapticsStateStream() = 0;
    virtual void stopHapticsStateStream() = 0;
    virtual void startWirelessStateTransitionStream() = 0;
    virtual void stopWirelessStateTransitionStream() = 0;
    virtual void startControllerInputDataStream() = 0;
    virtual void stopControllerInputDataStream() = 0;

    /// Asks the service for the queue of the poses. Call it once in the object's life, before
    /// startPoseOutputStream. Calling it or the next three out of order ends the process. So does a
    /// service that refuses, does not answer, or answers with an invalid queue.
    virtual void preparePoseOutputStream() = 0;
    virtual void startPoseOutputStream() = 0;
    virtual void stopPoseOutputStream() = 0;

    /// Neither waits nor allocates.
    /// @return false if the queue is full.
    virtual bool sendPose(const PoseOutput& pose) = 0;

    /// @param level charge of the headset's battery, in percent.
    /// @return false if the service refused or could not be reached.
    virtual bool notifyBatteryState(uint8_t level) = 0;

    /// Ends the process if it cannot be delivered.
    /// @return the address that the owner of the state now has.
    virtual ControllerAddr enterPairingMode() = 0;

    /// Ends the process if it cannot be delivered.
    /// @return the address and the id that the service has for the owner of the state; the key is
    /// always zero, even if the service has one.
    virtual SecureDeviceInfo getPairingInfo() = 0;

    /// Passes the data of a pairing to the service, which interprets all of it.
    /// @param host the id and the 16 bytes of the host.
    /// @param key exactly 16 bytes, copied. They are sent beside the 16 bytes of the host;
    /// getPairingInfo does not return them.
    /// @return false if the service refused or could not be reached.
    virtual bool setPairingInfo(const SecureHostInfo& host, const uint8_t* key) = 0;

    /// Passes the Kivrar switch to the service, which defines its effect.
    /// @return false if the service refused or could not be reached.
    virtual bool setKivrarEnabled(bool enabled) = 0;
};

}  // namespace Vek::Sensors
